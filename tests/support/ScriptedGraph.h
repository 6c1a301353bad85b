#pragma once

#include <atomic>
#include <cmath>
#include <map>

#include <QStringList>
#include <QUrl>

#include "platform/sound/AudioGraph.h"
#include "support/SyntheticFile.h"

namespace ambrel::test {

/// The sound graph as a list of the calls it got. A test says what opens, where the player is and
/// when a segment ends.
class ScriptedGraph : public AudioGraph {
  public:
    using Opening = std::function<std::shared_ptr<AudioFile>()>;

    /// What open() does for this URL, on the opening thread; a missing file otherwise.
    void whenOpened(const QUrl& url, Opening opening) { openings_[url] = std::move(opening); }

    /// A file of `seconds` at that rate.
    void addFile(const QUrl& url, double seconds, int rateHz = 44100) {
        whenOpened(url,
                   [=] { return SyntheticFile::numbered(rateHz, std::llround(seconds * rateHz)); });
    }

    /// Calls of the main thread since the last take, without those that set the sound.
    QStringList takeCalls() { return std::exchange(calls, {}); }

    /// The completion of the running segment, which then has none left. Empty with none.
    Completion takeCompletion() { return std::exchange(completion_, nullptr); }

    std::shared_ptr<AudioFile> open(const QUrl& url) {
        ++opened;
        if (!openings_.contains(url))
            throw AudioFileError(AudioFileError::Reason::missing,
                                 url.fileName().toStdString() + " is missing.");
        return openings_.at(url)();
    }
    bool isRunning() const override { return isRunning_; }
    void start() override {
        calls << QStringLiteral("start");
        isRunning_ = true;
    }
    void scheduleSegment(std::shared_ptr<AudioFile> scheduled, std::int64_t startFrame,
                         std::int64_t frameCount, Completion completion,
                         const std::optional<Announcement>& next) override {
        file = std::move(scheduled);
        calls << QStringLiteral("schedule %1+%2").arg(startFrame).arg(frameCount);
        completion_ = std::move(completion);
        following = next;
        running.reset();
    }
    void expect(const std::shared_ptr<AudioFile>&, std::int64_t) override {}
    void announce(const std::optional<Announcement>& next) override { following = next; }
    std::optional<std::int64_t> runningOn() const override { return running; }
    bool adopt(std::int64_t id, Completion completion) override {
        if (running != id)
            return false;
        calls << QStringLiteral("adopt");
        running.reset();
        completion_ = std::move(completion);
        return true;
    }
    void play() override { calls << QStringLiteral("play"); }
    void pause() override { calls << QStringLiteral("pause"); }
    void stop() override {
        running.reset();
        calls << QStringLiteral("stop");
        if (const auto completion = takeCompletion())
            completion();
    }
    std::optional<double> playerTime() const override { return time; }
    void setRate(float value) override { rate = value; }
    void setPitch(float cents) override { pitch = cents; }
    void setEqualiserBypass(bool value) override { bypass = value; }
    void setEqualiserBand(int, float, float, float) override {}
    void setEqualiserGain(int band, float gain) override { gains[band] = gain; }

    QStringList calls;
    std::atomic<int> opened = 0;           ///< files, also those that failed
    std::shared_ptr<AudioFile> file;       ///< of the segment scheduled last
    std::optional<Announcement> following; ///< announced last
    std::optional<std::int64_t> running;   ///< what runs on behind a completion
    std::optional<double> time;
    float rate = 0;
    float pitch = 0;
    bool bypass = false;
    std::map<int, float> gains;

  private:
    std::map<QUrl, Opening> openings_;
    bool isRunning_ = false;
    Completion completion_;
};

} // namespace ambrel::test
