#pragma once

#include <memory>

namespace ambrel {

class AppState;
class SettingsStore;

/// What happens at the bounds of the application's life. Main thread only.
class AppDelegate {
  public:
    /// `settings` outlives the delegate.
    explicit AppDelegate(SettingsStore& settings) : settings_(settings) {}

    /// Called when the main window appears; kept alive for the final save.
    void setAppState(std::shared_ptr<AppState> appState);

    /// Names the application, and lets it end with its last window. Before any window exists.
    void applicationWillFinishLaunching();

    /// Saves the settings of the open file, if there is one, before it returns.
    void applicationWillTerminate();

  private:
    SettingsStore& settings_;
    std::shared_ptr<AppState> appState_;
};

} // namespace ambrel
