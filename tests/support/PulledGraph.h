#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "platform/sound/AudioGraph.h"
#include "platform/sound/device/OfflineOutput.h"
#include "support/SoundMeasures.h"

namespace ambrel::test {

/// A graph that is pulled, playing one region after the other.
struct PulledGraph {
    explicit PulledGraph(int deviceHz)
        : output(new OfflineOutput(deviceHz)),
          owned(AudioGraph::create(std::unique_ptr<AudioOutput>(output))), graph(*owned) {
        graph.start();
    }

    /// What was played before is stopped and gone.
    void play(const std::shared_ptr<AudioFile>& file, std::int64_t startFrame,
              std::int64_t frameCount, const std::optional<Announcement>& next, double rate = 1,
              double cents = 0) {
        graph.stop();
        pullStereo(1000);
        graph.setRate(float(rate));
        graph.setPitch(float(cents));
        graph.scheduleSegment(
            file, startFrame, frameCount, [] {}, next);
        graph.play();
    }

    /// Up to `frames` more stereo frames; fewer if the sound ends.
    std::vector<float> pullStereo(std::size_t frames) {
        std::vector<float> stereo(2 * frames);
        stereo.resize(2 * output->pull(stereo.data(), frames));
        return stereo;
    }

    /// The left channel of as much.
    std::vector<float> pull(std::size_t frames) { return channelOf(pullStereo(frames), 0); }

    OfflineOutput* output;
    std::unique_ptr<AudioGraph> owned;
    AudioGraph& graph;
};

} // namespace ambrel::test
