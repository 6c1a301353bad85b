#include "platform/sound/play/OutputStage.h"

#include <algorithm>
#include <cstring>

namespace ambrel {

OutputStage::OutputStage(const TransportState& transport, WakeUp& roomMade, WakeUp& segmentEnded)
    : transport_(transport), roomMade_(roomMade), segmentEnded_(segmentEnded) {}

void OutputStage::attach(RenderRing& ring, int sampleRateHz) {
    fade_ = Fade(sampleRateHz);
    ring_ = &ring;
    sampleRateHz_ = sampleRateHz;
    fadeStep_ = 0;
    decaying_ = false;
}

OutputStage::Progress OutputStage::progress() const noexcept {
    const std::int64_t ended = endedEpoch_.load(std::memory_order_acquire);
    const std::int64_t epoch = progressEpoch_.load(std::memory_order_acquire);
    return {epoch, ended == epoch};
}

const OutputStage::Boundary* OutputStage::oldestBoundary() noexcept {
    return boundaries_.read_available() > 0 ? &boundaries_.front() : nullptr;
}

void OutputStage::render(float* stereo, std::size_t frames) noexcept {
    if (ring_->expect(frames))
        roomMade_.signal();
    const TransportState::Value transport = transport_.get();
    std::size_t done = 0;
    while (done < frames) {
        if (fadeStep_ == 0 && !mayBegin(transport, frames - done))
            break;
        const bool out = !transport.playing || transport.epoch != heardEpoch_;
        const RenderBlock* block = ring_->front();
        decaying_ = decaying_ || !block || block->epoch != heardEpoch_;
        done += !decaying_ ? takeFromBlock(stereo + 2 * done, frames - done, out)
                           : decay(stereo + 2 * done, frames - done);
    }
    std::memset(stereo + 2 * done, 0, 2 * (frames - done) * sizeof(float));
    written_ += static_cast<std::int64_t>(frames - done);
    if (entry_.frames > 0)
        log_.write(entry_);
    entry_ = {};
}

/// Drops blocks of older epochs. A segment waits for a whole request of frames, so that it does not
/// run dry at once.
bool OutputStage::mayBegin(TransportState::Value transport, std::size_t frames) noexcept {
    bool dropped = false;
    const RenderBlock* block = ring_->front();
    // Newer blocks may already be there if the transport changed after this request began.
    while (block && block->epoch < transport.epoch) {
        ring_->pop();
        dropped = true;
        block = ring_->front();
    }
    if (dropped)
        roomMade_.signal();
    if (!block || block->epoch != transport.epoch || !transport.playing)
        return false;
    if (!ring_->isReadyFor(frames) && ring_->finishedEpoch() != transport.epoch)
        return false;
    heardEpoch_ = transport.epoch;
    fadeStep_ = 1;
    decaying_ = false;
    return true;
}

std::size_t OutputStage::takeFromBlock(float* stereo, std::size_t frames, bool out) noexcept {
    const RenderBlock& block = *ring_->front();
    const std::size_t taken = ring_->taken();
    std::size_t count = std::min(frames, block.frames - taken);
    if (out)
        count = std::min(count, fadeStep_);
    std::memcpy(stereo, block.samples.data() + 2 * taken, 2 * count * sizeof(float));
    if (count > 0) {
        if (out)
            fadeStep_ = fade_->out(stereo, count, fadeStep_);
        else
            fadeStep_ = 1 + fade_->in(stereo, count, fadeStep_ - 1);
        lastLeft_ = stereo[2 * count - 2];
        lastRight_ = stereo[2 * count - 1];
    }
    note(block.fileFrameAt(taken), block.fileFrameAt(taken + count), count, written_);
    ring_->take(count);
    written_ += static_cast<std::int64_t>(count);
    if (taken + count == block.frames)
        finishBlock();
    return count;
}

void OutputStage::finishBlock() noexcept {
    const RenderBlock& block = *ring_->front();
    if (block.last) {
        endFrame_.store(written_, std::memory_order_relaxed);
        endedEpoch_.store(block.epoch, std::memory_order_release);
        // The render thread has already faded the end of the segment.
        fadeStep_ = 0;
        segmentEnded_.signal();
    } else if (block.passEnds) {
        boundaries_.push({block.epoch, written_, block.next});
        place_ = {block.next, 0};
        segmentEnded_.signal();
    }
    ring_->pop();
    roomMade_.signal();
}

/// Frames are missing: fades the last sample out instead of breaking off. Frames that arrive
/// meanwhile wait for the end of the fade, and then fade in.
std::size_t OutputStage::decay(float* stereo, std::size_t frames) noexcept {
    const std::size_t count = std::min(frames, fadeStep_);
    const float from = std::max(fade_->gain(fadeStep_ - 1), 1e-6F);
    for (std::size_t i = 0; i < count; ++i) {
        stereo[2 * i] = lastLeft_ / from;
        stereo[2 * i + 1] = lastRight_ / from;
    }
    fadeStep_ = fade_->out(stereo, count, fadeStep_);
    if (count > 0 && fadeStep_ > 0) {
        lastLeft_ = stereo[2 * count - 2];
        lastRight_ = stereo[2 * count - 1];
    }
    written_ += static_cast<std::int64_t>(count);
    if (transport_.get().epoch == heardEpoch_)
        missed_.fetch_add(static_cast<std::int64_t>(count), std::memory_order_relaxed);
    return count;
}

void OutputStage::note(double from, double to, std::size_t frames, std::int64_t at) noexcept {
    const RenderBlock& block = *ring_->front();
    const Pass& pass = block.pass;
    if (entry_.frames > 0 && (entry_.epoch != heardEpoch_ || entry_.pass != pass.number)) {
        log_.write(entry_);
        entry_ = {};
    }
    if (entry_.frames == 0)
        entry_ = {heardEpoch_, pass.number, at, 0, from, to};
    entry_.frames += static_cast<std::int64_t>(frames);
    entry_.fileFrameEnd = to;
    const std::int64_t pauseLeft =
        block.pauseFrames - static_cast<std::int64_t>(ring_->taken() + frames);
    place_ = {pass, to};
    place_.pass.pauseSeconds = double(std::max<std::int64_t>(0, pauseLeft)) / sampleRateHz_;
    progressEpoch_.store(heardEpoch_, std::memory_order_release);
}

} // namespace ambrel
