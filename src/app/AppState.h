#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <QList>
#include <QObject>
#include <QUrl>

#include "app/LoadingState.h"
#include "audio/PlaybackModel.h"
#include "store/FileSettings.h"

namespace ambrel {

class MainQueue;
class SettingsStore;
class WorkItem;

/// The one model: what every view shows and edits. Main thread only.
///
/// Each setter stores the value and emits changed(), also for an equal value; the eight settings
/// other than the region then call settingsDidChange(). Setters do not clamp: every writer keeps
/// the ranges (speed 5 to 300 %, pitch ±1200 cents, gains ±12 dB). The model never drives the
/// engine: who changes speed, pitch or equaliser pushes the value there too.
///
/// The ten settings belong to one file, or to none. While another file opens, audioFileURL() names
/// that one already, but what is set is still the earlier file's and is saved as such, until
/// beginSettings() says otherwise.
class AppState : public QObject,
                 public PlaybackModel,
                 public std::enable_shared_from_this<AppState> {
    Q_OBJECT

  public:
    enum class Field {
        loadingState,
        audioFileURL,
        audioDuration,
        waveformSamples,
        regionStart,
        regionEnd,
        isPlaying,
        playbackPosition,
        zoomLevel,
        panOffset,
        speed,
        speedStep,
        pitch,
        eqEnabled,
        eqGains,
        loopEnabled,
        loopDelaySeconds,
        loopDelayMilliseconds,
        recentFiles,
        isShowingHelp
    };
    Q_ENUM(Field)

    static std::shared_ptr<AppState> create();
    static std::shared_ptr<AppState> create(SettingsStore& store, MainQueue& mainQueue);
    ~AppState() override;

    const LoadingState& loadingState() const { return loadingState_; }
    const std::optional<QUrl>& audioFileURL() const { return audioFileURL_; }
    double audioDuration() const { return audioDuration_; } ///< seconds
    const std::vector<float>& waveformSamples() const { return waveformSamples_; }
    double regionStart() const override { return regionStart_; }
    double regionEnd() const override { return regionEnd_; }
    bool isPlaying() const { return isPlaying_; }
    double playbackPosition() const { return playbackPosition_; } ///< seconds from file start
    double zoomLevel() const { return zoomLevel_; }               ///< 1 shows the whole file
    double panOffset() const { return panOffset_; }               ///< points from file start
    double speed() const { return speed_; }                       ///< percent
    double speedStep() const { return speedStep_; }               ///< percentage points
    double pitch() const { return pitch_; }                       ///< cents
    bool eqEnabled() const { return eqEnabled_; }
    const std::vector<double>& eqGains() const { return eqGains_; } ///< dB per band
    bool loopEnabled() const override { return loopEnabled_; }
    std::int64_t loopDelaySeconds() const override { return loopDelaySeconds_; }
    std::int64_t loopDelayMilliseconds() const override { return loopDelayMilliseconds_; }
    const QList<QUrl>& recentFiles() const { return recentFiles_; } ///< newest first
    bool isShowingHelp() const { return isShowingHelp_; }

    std::shared_ptr<void> observeLoop(std::function<void()> notify) override;

    void setLoadingState(const LoadingState& value);
    void setAudioFileURL(const std::optional<QUrl>& value); ///< none: the settings are no file's
    void setAudioDuration(double value);
    void setWaveformSamples(std::vector<float> value);
    void setRegionStart(double value); ///< schedules no save by itself
    void setRegionEnd(double value);   ///< schedules no save by itself
    /// Both ends at once: nobody sees one of them with the earlier other. Schedules no save.
    void setRegion(double start, double end);
    void setIsPlaying(bool value) override;
    void setPlaybackPosition(double value) override;
    void setZoomLevel(double value);
    void setPanOffset(double value);
    void setSpeed(double value);
    void setSpeedStep(double value);
    void setPitch(double value);
    void setEqEnabled(bool value);
    void setEqGains(std::vector<double> value);
    void setLoopEnabled(bool value);
    void setLoopDelaySeconds(std::int64_t value);
    void setLoopDelayMilliseconds(std::int64_t value);
    void setRecentFiles(const QList<QUrl>& value);
    void setIsShowingHelp(bool value);

    /// Copies of the ten settings of the open file.
    FileSettings currentSettings() const;

    /// Assigns the ten settings in their order, as they are.
    void applySettings(const FileSettings& settings);

    /// The defaults for a file of `duration` seconds: whole file, normal speed, nothing shaped,
    /// zoomed out, at rest at its start.
    void resetToDefaults(double duration);

    /// From here on the settings are those of `file`; saves what was still to be saved of the file
    /// before.
    void beginSettings(const std::optional<QUrl>& file);

    /// Saves the settings 0.3 s after the last call; nothing while they are no file's.
    void settingsDidChange();

    /// Saves the settings now; nothing while they are no file's.
    void saveSettings();

  Q_SIGNALS:
    void changed(ambrel::AppState::Field field);

    /// What is played after the region's end may be something else: once for each change.
    void loopChanged();

  private:
    AppState(SettingsStore& store, MainQueue& mainQueue);

    template <typename Value> void assign(Value& field, Value value, Field name);
    template <typename Value> void assignSetting(Value& field, Value value, Field name);

    SettingsStore& store_;
    MainQueue& mainQueue_;
    std::shared_ptr<WorkItem> settingsSaveTask_; ///< while a save is due
    std::optional<QUrl> settingsFile_;           ///< the file that the settings belong to

    LoadingState loadingState_;
    std::optional<QUrl> audioFileURL_;
    double audioDuration_ = 0;
    std::vector<float> waveformSamples_;
    double regionStart_ = 0;
    double regionEnd_ = 0;
    bool isPlaying_ = false;
    double playbackPosition_ = 0;
    double zoomLevel_ = 1;
    double panOffset_ = 0;
    double speed_ = 100;
    double speedStep_ = 5;
    double pitch_ = 0;
    bool eqEnabled_ = false;
    std::vector<double> eqGains_ = {0, 0, 0, 0, 0};
    bool loopEnabled_ = false;
    std::int64_t loopDelaySeconds_ = 0;
    std::int64_t loopDelayMilliseconds_ = 0;
    QList<QUrl> recentFiles_;
    bool isShowingHelp_ = false;
};

} // namespace ambrel
