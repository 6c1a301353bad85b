#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <QStringList>
#include <QUrl>

#include "platform/sound/AudioFile.h"
#include "platform/sound/AudioGraph.h"

namespace ambrel::test {

/// A silent file of any length that lies nowhere.
class SilentFile : public AudioFile {
  public:
    SilentFile(std::filesystem::path path, int sampleRateHz, std::int64_t length)
        : path_(std::move(path)), sampleRateHz_(sampleRateHz), length_(length) {}

    const std::filesystem::path& path() const noexcept override { return path_; }
    int sampleRate() const noexcept override { return sampleRateHz_; }
    int channels() const noexcept override { return 2; }
    std::int64_t length() const noexcept override { return length_; }
    int samplesPerFrame() const noexcept override { return 2; }
    std::size_t read(std::int64_t, std::span<float>) noexcept override { return 0; }

  private:
    std::filesystem::path path_;
    int sampleRateHz_;
    std::int64_t length_;
};

/// The sound graph as a list of the calls it got. A test says what opens, where the player is and
/// when a segment ends.
class ScriptedGraph : public AudioGraph {
  public:
    using Opening = std::function<std::shared_ptr<AudioFile>()>;

    /// What open() does for this URL, on the opening thread; a missing file otherwise.
    void whenOpened(const QUrl& url, Opening opening) { openings_[url] = std::move(opening); }

    /// A silent file of `seconds` at 44,100 Hz.
    void addFile(const QUrl& url, double seconds);

    /// Calls of the main thread since the last take, without those that set the sound.
    QStringList takeCalls() { return std::exchange(calls, {}); }

    /// The completion of the running segment, which then has none left. Empty with none.
    Completion takeCompletion() { return std::exchange(completion_, nullptr); }

    /// Opened so far, in order. Any thread.
    std::vector<QUrl> opened() const;

    std::shared_ptr<AudioFile> open(const QUrl& url);
    bool isRunning() const override { return isRunning_; }
    void start() override;
    void scheduleSegment(std::shared_ptr<AudioFile> file, std::int64_t startFrame,
                         std::int64_t frameCount, Completion completion,
                         const std::optional<Announcement>& next) override;
    void announce(const std::optional<Announcement>& next) override { following = next; }
    std::optional<std::int64_t> runningOn() const override { return running; }
    bool adopt(std::int64_t id, Completion completion) override;
    void play() override { calls << QStringLiteral("play"); }
    void pause() override { calls << QStringLiteral("pause"); }
    void stop() override;
    std::optional<double> playerTime() const override { return time; }
    void setRate(float value) override { rate = value; }
    void setPitch(float cents) override { pitch = cents; }
    void setEqualiserBypass(bool value) override { bypass = value; }
    void setEqualiserBand(int band, float frequencyHz, float bandwidth, float gain) override;
    void setEqualiserGain(int band, float gain) override { gains[band] = gain; }

    QStringList calls;
    std::shared_ptr<AudioFile> file;       ///< of the segment scheduled last
    std::optional<Announcement> following; ///< announced last
    std::optional<std::int64_t> running;   ///< what runs on behind a completion
    std::optional<double> time;
    float rate = 0;
    float pitch = 0;
    bool bypass = false;
    QStringList bands;
    std::map<int, float> gains;

  private:
    std::map<QUrl, Opening> openings_;
    bool isRunning_ = false;
    Completion completion_;
    mutable std::mutex mutex_;
    std::vector<QUrl> opened_; ///< under mutex_
};

} // namespace ambrel::test
