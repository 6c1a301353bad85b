#pragma once

#include <optional>

#include <QRect>

namespace ambrel {

class Preferences;

/// Where the main window is: "900x800+100+50" under "AMB.window", with " maximised" behind it while
/// that is so. Main thread only.
class WindowStore {
  public:
    struct Place {
        QRect area; ///< without the window's frame, and while it is not maximised
        bool isMaximised = false;

        bool operator==(const Place&) const = default;
    };

    explicit WindowStore(Preferences& defaults);

    static WindowStore& shared();

    /// Absent until one is stored. Any sizes below 100,000, and places on no screen.
    std::optional<Place> place() const;
    void setPlace(const Place& place);

  private:
    Preferences& defaults_;
};

} // namespace ambrel
