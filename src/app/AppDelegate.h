#pragma once

#include <memory>

namespace ambrel {

class AppState;

/// What happens at the bounds of the application's life. Main thread only.
class AppDelegate {
  public:
    /// Called when the main window appears; kept alive for the final save.
    void setAppState(std::shared_ptr<AppState> appState);

    /// Names the application, and lets it end with its last window. Before any window exists.
    void applicationWillFinishLaunching();

    /// Saves the settings, if they are a file's, before it returns.
    void applicationWillTerminate();

  private:
    std::shared_ptr<AppState> appState_;
};

} // namespace ambrel
