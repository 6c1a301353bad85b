#include "audio/SoundEngineGraph.h"

#include <utility>

#include "audio/LocalPath.h"
#include "platform/sound/AudioFile.h"
#include "platform/sound/DeviceOutput.h"

namespace ambrel {

SoundEngineGraph::SoundEngineGraph() : SoundEngineGraph(std::make_unique<DeviceOutput>()) {}

SoundEngineGraph::SoundEngineGraph(std::unique_ptr<AudioOutput> output)
    : graph_(std::move(output)) {}

std::shared_ptr<AudioFile> SoundEngineGraph::open(const QUrl& url) {
    return AudioFile::open(localPath(url));
}

void SoundEngineGraph::scheduleSegment(std::shared_ptr<AudioFile> file, std::int64_t startFrame,
                                       std::int64_t frameCount, Completion completion,
                                       const std::optional<Continuation>& next) {
    graph_.scheduleSegment(std::move(file), startFrame, frameCount, std::move(completion), next);
}

void SoundEngineGraph::setEqualiserBand(int band, float frequencyHz, float bandwidth, float gain) {
    graph_.setEqualiserBand(band, frequencyHz, bandwidth, gain);
}

} // namespace ambrel
