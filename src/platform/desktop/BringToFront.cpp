#include "platform/desktop/BringToFront.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include <QGuiApplication>
#include <QWindow>
#include <xcb/xcb.h>

namespace ambrel {
namespace {

/// The messages to the window manager, for which Qt has no function: it activates windows as a
/// program does by itself, which window managers refuse while the user is busy elsewhere.
class WindowManager {
  public:
    WindowManager(xcb_connection_t* display, xcb_window_t window)
        : display_(display), window_(window) {
        const Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(display, xcb_get_geometry(display, window), nullptr));
        if (geometry)
            root_ = geometry->root;
    }

    void activate() {
        xcb_client_message_event_t message = empty("_NET_ACTIVE_WINDOW", 32);
        message.data.data32[0] = 2; // at the user's own request
        send(message, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
    }

    /// Ends the busy pointer that the desktop shows for the start of the other program.
    void endStartNotification(const QByteArray& identifier) {
        QByteArray text = "remove: ID=" + identifier;
        text.append('\0');
        xcb_client_message_event_t message = empty("_NET_STARTUP_INFO_BEGIN", 8);
        constexpr qsizetype most = sizeof message.data.data8;
        for (qsizetype at = 0; at < text.size(); at += most) {
            const QByteArray part = text.mid(at, most).leftJustified(most, '\0');
            std::copy(part.begin(), part.end(), message.data.data8);
            send(message, XCB_EVENT_MASK_PROPERTY_CHANGE);
            message.type = atom("_NET_STARTUP_INFO");
        }
    }

    void flush() { xcb_flush(display_); }

  private:
    struct Free {
        void operator()(void* reply) const { std::free(reply); }
    };
    template <typename Type> using Reply = std::unique_ptr<Type, Free>;

    xcb_atom_t atom(std::string_view name) {
        const auto asked = xcb_intern_atom(display_, 0, std::uint16_t(name.size()), name.data());
        const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(display_, asked, nullptr));
        return reply ? reply->atom : 0;
    }

    xcb_client_message_event_t empty(std::string_view type, std::uint8_t format) {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = format;
        message.window = window_;
        message.type = atom(type);
        return message;
    }

    void send(const xcb_client_message_event_t& message, std::uint32_t mask) {
        xcb_send_event(display_, 0, root_, mask, reinterpret_cast<const char*>(&message));
    }

    xcb_connection_t* display_;
    xcb_window_t window_;
    xcb_window_t root_ = 0;
};

/// As they are in fact; others would have to be quoted.
bool isPlain(const QString& identifier) {
    return !identifier.isEmpty() && std::ranges::all_of(identifier, [](QChar c) {
        return c > u' ' && c < QChar(0x7F) && c != u'"' && c != u'\\';
    });
}

} // namespace

QString startToken() {
    const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    return token.isEmpty() ? qEnvironmentVariable("DESKTOP_STARTUP_ID") : token;
}

void bringToFront(QWindow& window, const QString& token) {
    window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
    window.raise();
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11) {
        if (!token.isEmpty()) // where Qt looks for the one to use
            qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
        window.requestActivate();
        return;
    }
    WindowManager manager(x11->connection(), xcb_window_t(window.winId()));
    manager.activate();
    if (isPlain(token))
        manager.endStartNotification(token.toLatin1());
    manager.flush();
}

} // namespace ambrel
