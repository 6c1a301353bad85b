#include "platform/desktop/KeyCode.h"

#include <algorithm>
#include <array>

#include <QKeyEvent>
#include <linux/input-event-codes.h>

namespace ambrel {
namespace {

struct Key {
    KeyCode code;
    quint32 evdev; ///< the kernel's number of the physical key
    int qtKey;
};

constexpr std::array kKeys = {
    Key{KeyCode::r, KEY_R, Qt::Key_R},
    Key{KeyCode::l, KEY_L, Qt::Key_L},
    Key{KeyCode::space, KEY_SPACE, Qt::Key_Space},
    Key{KeyCode::leftArrow, KEY_LEFT, Qt::Key_Left},
    Key{KeyCode::rightArrow, KEY_RIGHT, Qt::Key_Right},
    Key{KeyCode::downArrow, KEY_DOWN, Qt::Key_Down},
    Key{KeyCode::upArrow, KEY_UP, Qt::Key_Up},
};

/// X11 and Wayland key codes are this much higher than the kernel's.
constexpr quint32 kScanCodeOffset = 8;

} // namespace

std::optional<KeyCode> keyCodeOf(const QKeyEvent& event) {
    const quint32 scanCode = event.nativeScanCode();
    const auto key = std::ranges::find_if(kKeys, [&](const Key& candidate) {
        // A keyboard on the screen may number its keys as it likes. Its Space is still Space, on
        // every layout.
        const bool goesByName = scanCode == 0 || candidate.code == KeyCode::space;
        return scanCode == candidate.evdev + kScanCodeOffset ||
               (goesByName && event.key() == candidate.qtKey);
    });
    if (key == kKeys.end())
        return {};
    return key->code;
}

} // namespace ambrel
