#include "app/AppState.h"

#include <algorithm>
#include <utility>

#include "platform/desktop/MainQueue.h"
#include "store/SettingsStore.h"

namespace ambrel {
namespace {

/// Delay from the last change to the save.
constexpr std::chrono::duration<double> kSaveDelay{0.3};

} // namespace

std::shared_ptr<AppState> AppState::create() {
    return create(SettingsStore::shared(), MainQueue::shared());
}

std::shared_ptr<AppState> AppState::create(SettingsStore& store, MainQueue& mainQueue) {
    return std::shared_ptr<AppState>(new AppState(store, mainQueue));
}

AppState::AppState(SettingsStore& store, MainQueue& mainQueue)
    : store_(store), mainQueue_(mainQueue) {}

AppState::~AppState() = default;

template <typename Value> void AppState::assign(Value& field, Value value, Field name) {
    field = std::move(value);
    Q_EMIT changed(name);
}

template <typename Value> void AppState::assignSetting(Value& field, Value value, Field name) {
    assign(field, std::move(value), name);
    settingsDidChange();
}

void AppState::observe(QObject* observer, std::initializer_list<Field> fields,
                       const std::function<void()>& show) const {
    connect(this, &AppState::changed, observer, [fields = std::vector(fields), show](Field field) {
        if (std::ranges::find(fields, field) != fields.end())
            show();
    });
    show();
}

std::shared_ptr<void> AppState::observeLoop(std::function<void()> notify) {
    auto observation = std::make_shared<QObject>();
    connect(this, &AppState::loopChanged, observation.get(), std::move(notify));
    return observation;
}

double AppState::eqGain(std::size_t band) const {
    return band < eqGains().size() ? eqGains()[band] : 0;
}

void AppState::setLoadingState(const LoadingState& value) {
    assign(loadingState_, value, Field::loadingState);
}

void AppState::setAudioFileURL(const std::optional<QUrl>& value) {
    assign(audioFileURL_, value, Field::audioFileURL);
    if (!value)
        beginSettings(std::nullopt);
}

void AppState::setAudioDuration(double value) {
    assign(audioDuration_, value, Field::audioDuration);
}

void AppState::setWaveformSamples(std::vector<float> value) {
    assign(waveformSamples_, std::move(value), Field::waveformSamples);
}

void AppState::setRegionStart(double value) {
    assign(settings_.regionStart, value, Field::regionStart);
    Q_EMIT loopChanged();
}

void AppState::setRegionEnd(double value) {
    assign(settings_.regionEnd, value, Field::regionEnd);
    Q_EMIT loopChanged();
}

void AppState::setRegion(double start, double end) {
    settings_.regionEnd = end;
    assign(settings_.regionStart, start, Field::regionStart);
    setRegionEnd(end);
}

void AppState::setIsPlaying(bool value) {
    assign(isPlaying_, value, Field::isPlaying);
}

void AppState::setPlaybackPosition(double value) {
    assign(playbackPosition_, value, Field::playbackPosition);
}

void AppState::setZoomLevel(double value) {
    assign(zoomLevel_, value, Field::zoomLevel);
}

void AppState::setPanOffset(double value) {
    assign(panOffset_, value, Field::panOffset);
}

void AppState::setSpeed(double value) {
    assignSetting(settings_.speed, value, Field::speed);
}

void AppState::setSpeedStep(double value) {
    assignSetting(settings_.speedStep, value, Field::speedStep);
}

void AppState::setPitch(double value) {
    assignSetting(settings_.pitch, value, Field::pitch);
}

void AppState::setEqEnabled(bool value) {
    assignSetting(settings_.eqEnabled, value, Field::eqEnabled);
}

void AppState::setEqGains(std::vector<double> value) {
    assignSetting(settings_.eqGains, std::move(value), Field::eqGains);
}

void AppState::setLoopEnabled(bool value) {
    assignSetting(settings_.loopEnabled, value, Field::loopEnabled);
    Q_EMIT loopChanged();
}

void AppState::setLoopDelaySeconds(std::int64_t value) {
    assignSetting(settings_.loopDelaySeconds, value, Field::loopDelaySeconds);
    Q_EMIT loopChanged();
}

void AppState::setLoopDelayMilliseconds(std::int64_t value) {
    assignSetting(settings_.loopDelayMilliseconds, value, Field::loopDelayMilliseconds);
    Q_EMIT loopChanged();
}

void AppState::setRecentFiles(const QList<QUrl>& value) {
    assign(recentFiles_, value, Field::recentFiles);
}

void AppState::setIsShowingHelp(bool value) {
    assign(isShowingHelp_, value, Field::isShowingHelp);
}

void AppState::applySettings(const FileSettings& settings) {
    setRegion(settings.regionStart, settings.regionEnd);
    setSpeed(settings.speed);
    setSpeedStep(settings.speedStep);
    setPitch(settings.pitch);
    setEqEnabled(settings.eqEnabled);
    setEqGains(settings.eqGains);
    setLoopEnabled(settings.loopEnabled);
    setLoopDelaySeconds(settings.loopDelaySeconds);
    setLoopDelayMilliseconds(settings.loopDelayMilliseconds);
}

void AppState::resetToDefaults(double duration) {
    FileSettings defaults;
    defaults.regionEnd = duration;
    applySettings(defaults);
    setZoomLevel(1);
    setPanOffset(0);
    setPlaybackPosition(0);
    setIsPlaying(false);
}

void AppState::beginSettings(const std::optional<QUrl>& file) {
    if (settingsSaveTask_)
        saveSettings();
    settingsFile_ = file;
}

void AppState::settingsDidChange() {
    if (!settingsFile_)
        return;
    if (settingsSaveTask_)
        settingsSaveTask_->cancel();
    settingsSaveTask_ = std::make_shared<WorkItem>([weak = weak_from_this()] {
        if (const auto state = weak.lock())
            state->saveSettings();
    });
    mainQueue_.asyncAfter(kSaveDelay, settingsSaveTask_);
}

void AppState::saveSettings() {
    if (const auto due = std::exchange(settingsSaveTask_, nullptr))
        due->cancel();
    if (settingsFile_)
        store_.save(currentSettings(), *settingsFile_);
}

} // namespace ambrel
