#include "platform/sound/RenderThread.h"

#include <algorithm>

#include "platform/sound/SoundPriority.h"

namespace ambrel {

RenderThread::RenderThread(Wiring wiring, int sampleRateHz, std::size_t framesAhead)
    : wiring_(wiring), framesAhead_(framesAhead), ring_(framesAhead), timePitch_(sampleRateHz),
      equaliser_(sampleRateHz), fade_(sampleRateHz), thread_([this] { run(); }) {}

RenderThread::~RenderThread() {
    ending_ = true;
    wiring_.wake.signal();
    thread_.join();
}

void RenderThread::run() {
    if (!wiring_.demand)
        raiseSoundPriority(SoundUrgency::onDemand);
    while (!ending_) {
        while (!ending_ && step()) {
        }
        if (!ending_)
            wiring_.wake.wait();
    }
}

bool RenderThread::step() {
    const PlayGate::State gate = wiring_.gate.get();
    const RunPlace* run = wiring_.player.open(gate.epoch);
    if (!run)
        return false;
    if (run->epoch != run_.epoch) {
        if (!gate.playing)
            return false;
        begin(*run);
    }
    const std::size_t frames = room();
    if (finished_ || frames == 0 || !ring_.hasRoom())
        return false;
    if (wiring_.demand && !wiring_.player.hasAhead(timePitch_.mostInput()))
        return false;
    const std::size_t before = block_.frames;
    makeFrames(std::min(frames, RenderBlock::capacity - before));
    finished_ = timePitch_.finished();
    const bool full = block_.frames == RenderBlock::capacity;
    const bool demandMet = wiring_.demand && block_.frames > 0 && room() == 0;
    if (finished_ || full || demandMet) {
        block_.fileFrameEnd = finished_ ? run_.fileFrameEnd : fileFrame();
        block_.last = finished_;
        ring_.push(block_);
        block_.frames = 0;
        if (wiring_.demand)
            wiring_.demandMet.signal();
        return !finished_;
    }
    return block_.frames > before;
}

void RenderThread::begin(const RunPlace& run) {
    run_ = run;
    block_.epoch = run.epoch;
    block_.frames = 0;
    finished_ = false;
    applySettings();
    timePitch_.begin(run.frames);
    equaliser_.reset();
}

/// Frames that may still be made.
std::size_t RenderThread::room() const noexcept {
    const std::size_t target =
        wiring_.demand ? wiring_.demand->load(std::memory_order_acquire) : framesAhead_;
    const std::size_t made = ring_.framesOf(run_.epoch) + block_.frames;
    return target > made ? target - made : 0;
}

void RenderThread::applySettings() noexcept {
    const SoundSettings& settings = wiring_.settings;
    timePitch_.setRate(settings.rate.load(std::memory_order_relaxed));
    timePitch_.setPitch(settings.cents.load(std::memory_order_relaxed));
    EqualiserUnit::Bands bands;
    for (std::size_t i = 0; i < bands.size(); ++i)
        bands[i] = {settings.bands[i].frequencyHz.load(std::memory_order_relaxed),
                    settings.bands[i].bandwidthOctaves.load(std::memory_order_relaxed),
                    settings.bands[i].gainDb.load(std::memory_order_relaxed)};
    equaliser_.set(bands, settings.equaliserBypass.load(std::memory_order_relaxed));
}

void RenderThread::makeFrames(std::size_t frames) noexcept {
    applySettings();
    if (block_.frames == 0)
        block_.fileFrameBegin = fileFrame();
    float* stereo = block_.samples.data() + 2 * block_.frames;
    const std::size_t made = timePitch_.process(wiring_.player, stereo, frames);
    equaliser_.process(stereo, made);
    fadeEnd(stereo, made);
    block_.frames += made;
}

/// The segment's last 3 ms, so that it does not break off with a click.
void RenderThread::fadeEnd(float* stereo, std::size_t frames) const noexcept {
    const std::int64_t left = timePitch_.framesLeft();
    if (left >= static_cast<std::int64_t>(fade_.frames()))
        return;
    for (std::size_t i = 0; i < frames; ++i) {
        const std::int64_t behind = left + static_cast<std::int64_t>(frames - 1 - i);
        const float gain = fade_.gain(static_cast<std::size_t>(std::max<std::int64_t>(0, behind)));
        stereo[2 * i] *= gain;
        stereo[2 * i + 1] *= gain;
    }
}

double RenderThread::fileFrame() const noexcept {
    return run_.fileFrame + timePitch_.position() * run_.fileFramesPerFrame;
}

} // namespace ambrel
