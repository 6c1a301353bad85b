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

/// The application's one model, which every view shows and edits. Main thread only.
///
/// Each setter stores the value and emits changed(), even for an equal value; setters of the eight
/// settings other than the region also call settingsDidChange(). Setters do not clamp: callers keep
/// to the ranges (speed 5 to 300 %, pitch ±1200 cents, gains ±12 dB). The model never drives the
/// engine: whoever changes speed, pitch or equaliser also sets it there.
///
/// The ten settings belong to one file or to none. While another file opens, audioFileURL() already
/// names it, but the settings are still the previous file's, and are saved as such, until
/// beginSettings() is called.
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
    double regionStart() const override { return settings_.regionStart; }
    double regionEnd() const override { return settings_.regionEnd; }
    bool isPlaying() const { return isPlaying_; }
    double playbackPosition() const { return playbackPosition_; } ///< seconds from file start
    double zoomLevel() const { return zoomLevel_; }               ///< 1 shows the whole file
    double panOffset() const { return panOffset_; }               ///< points from file start
    double speed() const { return settings_.speed; }              ///< percent
    double speedStep() const { return settings_.speedStep; }      ///< percentage points
    double pitch() const { return settings_.pitch; }              ///< cents
    bool eqEnabled() const { return settings_.eqEnabled; }
    const std::vector<double>& eqGains() const { return settings_.eqGains; } ///< dB per band
    double eqGain(std::size_t band) const; ///< 0 where a record holds too few
    bool loopEnabled() const override { return settings_.loopEnabled; }
    std::int64_t loopDelaySeconds() const override { return settings_.loopDelaySeconds; }
    std::int64_t loopDelayMilliseconds() const override { return settings_.loopDelayMilliseconds; }
    const QList<QUrl>& recentFiles() const { return recentFiles_; } ///< newest first
    bool isShowingHelp() const { return isShowingHelp_; }

    /// Calls `show` now and after each change of one of `fields`, for as long as `observer` lives.
    void observe(QObject* observer, std::initializer_list<Field> fields,
                 const std::function<void()>& show) const;

    std::shared_ptr<void> observeLoop(std::function<void()> notify) override;

    void setLoadingState(const LoadingState& value);
    void
    setAudioFileURL(const std::optional<QUrl>& value); ///< absent: the settings belong to no file
    void setAudioDuration(double value);
    void setWaveformSamples(std::vector<float> value);
    void setRegionStart(double value); ///< schedules no save by itself
    void setRegionEnd(double value);   ///< schedules no save by itself
    /// Sets both ends at once, so that no observer sees one without the other. Schedules no save.
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

    const FileSettings& currentSettings() const { return settings_; }

    /// Assigns the ten settings in order, unchanged.
    void applySettings(const FileSettings& settings);

    /// Sets the defaults for a file of `duration` seconds: whole file, normal speed and pitch,
    /// equaliser off, zoomed out, play head at the start.
    void resetToDefaults(double duration);

    /// The settings belong to `file` from now on. First saves what is still unsaved for the
    /// previous file.
    void beginSettings(const std::optional<QUrl>& file);

    /// Saves the settings 0.3 s after the last call; no effect if they belong to no file.
    void settingsDidChange();

    /// Saves the settings now; no effect if they belong to no file.
    void saveSettings();

  Q_SIGNALS:
    void changed(ambrel::AppState::Field field);

    /// Emitted once for each change that may affect what follows the region's end.
    void loopChanged();

  private:
    AppState(SettingsStore& store, MainQueue& mainQueue);

    template <typename Value> void assign(Value& field, Value value, Field name);
    template <typename Value> void assignSetting(Value& field, Value value, Field name);

    SettingsStore& store_;
    MainQueue& mainQueue_;
    std::shared_ptr<WorkItem> settingsSaveTask_; ///< set while a save is due
    std::optional<QUrl> settingsFile_;           ///< the file that the settings belong to

    LoadingState loadingState_;
    std::optional<QUrl> audioFileURL_;
    double audioDuration_ = 0;
    std::vector<float> waveformSamples_;
    FileSettings settings_;
    bool isPlaying_ = false;
    double playbackPosition_ = 0;
    double zoomLevel_ = 1;
    double panOffset_ = 0;
    QList<QUrl> recentFiles_;
    bool isShowingHelp_ = false;
};

} // namespace ambrel
