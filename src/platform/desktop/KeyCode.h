#pragma once

#include <optional>

class QKeyEvent;

namespace ambrel {

/// The keys used as shortcuts, by position on the keyboard and not by what the layout prints on
/// them. The numbers are Ambrel's own.
enum class KeyCode : int {
    r = 15,
    l = 37,
    space = 49,
    leftArrow = 123,
    rightArrow = 124,
    downArrow = 125,
    upArrow = 126,
};

/// The key of an event, by scan code, or by Qt key if it has none (events made by programs); Space
/// by either. Absent for all other keys.
std::optional<KeyCode> keyCodeOf(const QKeyEvent& event);

} // namespace ambrel
