#pragma once

#include <optional>

class QKeyEvent;

namespace ambrel {

/// The keys that act on the practice, by where they lie on the keyboard and not by what the layout
/// prints on them. The numbers are Ambrel's own constants.
enum class KeyCode : int {
    r = 15,
    l = 37,
    space = 49,
    leftArrow = 123,
    rightArrow = 124,
    downArrow = 125,
    upArrow = 126,
};

/// The key of an event, by its scan code; by its Qt key when it has none, as events made by
/// programs may. Absent for every other key.
std::optional<KeyCode> keyCodeOf(const QKeyEvent& event);

} // namespace ambrel
