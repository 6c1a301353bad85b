#pragma once

#include "audio/EngineGraph.h"
#include "platform/sound/AudioGraph.h"

namespace ambrel {

/// The engine's graph on the sound of the platform: AudioGraph, and files opened by FFmpeg.
class SoundEngineGraph : public EngineGraph {
  public:
    /// On the default sound device.
    SoundEngineGraph();

    /// On an output of the caller's choice.
    explicit SoundEngineGraph(std::unique_ptr<AudioOutput> output);

    std::shared_ptr<AudioFile> open(const QUrl& url) override;
    bool isRunning() const override { return graph_.isRunning(); }
    void start() override { graph_.start(); }
    void scheduleSegment(std::shared_ptr<AudioFile> file, std::int64_t startFrame,
                         std::int64_t frameCount, Completion completion,
                         const std::optional<Continuation>& next) override;
    void setContinuation(const std::optional<Continuation>& next) override {
        graph_.setContinuation(next);
    }
    std::optional<Continuation> runningOn() const override { return graph_.runningOn(); }
    bool goOn(const Continuation& wanted, Completion completion) override {
        return graph_.goOn(wanted, std::move(completion));
    }
    void play() override { graph_.play(); }
    void pause() override { graph_.pause(); }
    void stop() override { graph_.stop(); }
    std::optional<double> playerTime() const override { return graph_.playerTime(); }
    void setRate(float rate) override { graph_.setRate(rate); }
    void setPitch(float cents) override { graph_.setPitch(cents); }
    void setEqualiserBypass(bool bypass) override { graph_.setEqualiserBypass(bypass); }
    void setEqualiserBand(int band, float frequencyHz, float bandwidth, float gain) override;
    void setEqualiserGain(int band, float gain) override { graph_.setEqualiserGain(band, gain); }

  private:
    AudioGraph graph_;
};

} // namespace ambrel
