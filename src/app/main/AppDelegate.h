#pragma once

#include <memory>

namespace ambrel {

class AppState;

/// Actions at the start and the end of the application. Main thread only.
class AppDelegate {
  public:
    /// Called when the main window appears; kept alive for the final save.
    void setAppState(std::shared_ptr<AppState> appState);

    /// Names the application and makes it quit with its last window. Call before creating any
    /// window.
    void applicationWillFinishLaunching();

    /// Saves the settings of the open file, if there is one, before it returns.
    void applicationWillTerminate();

  private:
    std::shared_ptr<AppState> appState_;
};

} // namespace ambrel
