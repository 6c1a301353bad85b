#include "support/ScriptedGraph.h"

namespace ambrel::test {

void ScriptedGraph::addFile(const QUrl& url, double seconds) {
    constexpr int rateHz = 44100;
    const auto opened =
        std::make_shared<SilentFile>(url.toLocalFile().toStdString(), rateHz,
                                     static_cast<std::int64_t>(std::llround(seconds * rateHz)));
    whenOpened(url, [opened] { return opened; });
}

std::vector<QUrl> ScriptedGraph::opened() const {
    const std::lock_guard lock(mutex_);
    return opened_;
}

std::shared_ptr<AudioFile> ScriptedGraph::open(const QUrl& url) {
    {
        const std::lock_guard lock(mutex_);
        opened_.push_back(url);
    }
    const auto opening = openings_.find(url);
    if (opening == openings_.end())
        throw AudioFileError(AudioFileError::Reason::missing,
                             url.fileName().toStdString() + " is missing.");
    return opening->second();
}

void ScriptedGraph::start() {
    calls << QStringLiteral("start");
    isRunning_ = true;
}

void ScriptedGraph::scheduleSegment(std::shared_ptr<AudioFile> scheduled, std::int64_t startFrame,
                                    std::int64_t frameCount, Completion completion,
                                    const std::optional<Announcement>& next) {
    file = std::move(scheduled);
    calls << QStringLiteral("schedule %1+%2").arg(startFrame).arg(frameCount);
    completion_ = std::move(completion);
    following = next;
    running.reset();
}

bool ScriptedGraph::adopt(std::int64_t id, Completion completion) {
    if (running != id)
        return false;
    calls << QStringLiteral("adopt");
    running.reset();
    completion_ = std::move(completion);
    return true;
}

void ScriptedGraph::stop() {
    running.reset();
    calls << QStringLiteral("stop");
    if (const auto completion = takeCompletion())
        completion();
}

void ScriptedGraph::setEqualiserBand(int band, float frequencyHz, float bandwidth, float gain) {
    bands << QStringLiteral("%1: %2 Hz, %3 oct, %4 dB")
                 .arg(band)
                 .arg(frequencyHz)
                 .arg(bandwidth)
                 .arg(gain);
}

} // namespace ambrel::test
