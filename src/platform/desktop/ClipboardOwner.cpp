#include "platform/desktop/ClipboardOwner.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <QGuiApplication>
#include <poll.h>
#include <xcb/xcb.h>

namespace ambrel {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kPatience = 200ms;

/// A connection of its own: Qt would take the answer from the application's.
class Display {
  public:
    Display() : connection_(xcb_connect(nullptr, nullptr), &xcb_disconnect) {}

    bool isOpen() const { return xcb_connection_has_error(connection_.get()) == 0; }

    /// Asks the selection's owner which forms it can give. Without an owner, the server answers.
    void ask(const char* selection) {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(display())).data;
        const xcb_window_t window = xcb_generate_id(display());
        xcb_create_window(display(), 0, window, screen->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, screen->root_visual, 0, nullptr);
        const xcb_atom_t forms = atom("TARGETS");
        xcb_convert_selection(display(), window, atom(selection), forms, forms, XCB_CURRENT_TIME);
        xcb_flush(display());
    }

    bool isAnswered(Clock::time_point until) {
        while (isOpen()) {
            while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(display())}) {
                if ((event->response_type & 0x7F) == XCB_SELECTION_NOTIFY)
                    return true;
            }
            const auto rest = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
            if (rest <= 0ms)
                break;
            pollfd watched = {xcb_get_file_descriptor(display()), POLLIN, 0};
            ::poll(&watched, 1, int(rest.count()));
        }
        return false;
    }

  private:
    struct Free {
        void operator()(void* reply) const { std::free(reply); }
    };
    template <typename Type> using Reply = std::unique_ptr<Type, Free>;

    xcb_connection_t* display() { return connection_.get(); }

    xcb_atom_t atom(const char* name) {
        const auto asked = xcb_intern_atom(display(), 0, std::uint16_t(std::strlen(name)), name);
        const Reply<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(display(), asked, nullptr));
        return reply ? reply->atom : 0;
    }

    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection_;
};

} // namespace

bool clipboardOwnerAnswers(QClipboard::Mode mode) {
    const QClipboard* clipboard = QGuiApplication::clipboard();
    const bool isSelection = mode == QClipboard::Selection;
    const bool isOurs = isSelection ? clipboard->ownsSelection() : clipboard->ownsClipboard();
    if (isOurs || !qGuiApp->nativeInterface<QNativeInterface::QX11Application>())
        return true;
    Display display;
    if (!display.isOpen())
        return true;
    display.ask(isSelection ? "PRIMARY" : "CLIPBOARD");
    return display.isAnswered(Clock::now() + kPatience);
}

} // namespace ambrel
