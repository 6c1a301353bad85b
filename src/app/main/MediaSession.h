#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include <QObject>

#include "app/AppState.h"
#include "platform/desktop/MprisPlayer.h"
#include "platform/desktop/ScreenInhibitor.h"

namespace ambrel {

class AudioEngine;

/// Playback as the desktop sees it: media keys and panels control it, and the screen stays on while
/// something plays. Main thread only, within the life of the QApplication. Owned by AmbrelApp.
class MediaSession : public QObject {
    Q_OBJECT

  public:
    /// `raise` brings the window to the front.
    MediaSession(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                 std::function<void()> raise);

  private:
    MprisPlayer::Program program(std::function<void()> raise);
    MprisPlayer::Playback playback() const;
    MprisPlayer::State shownState();
    void updateLater();
    void update();
    void followPosition();

    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
    MprisPlayer::Playback playback_ = MprisPlayer::Playback::stopped; ///< as shown
    double position_ = 0;                                             ///< seconds
    bool hasJumped_ = false;                                          ///< since the last update
    bool isDue_ = false;                                              ///< an update
    ScreenInhibitor screen_;
    MprisPlayer player_; ///< uses all of them
};

} // namespace ambrel
