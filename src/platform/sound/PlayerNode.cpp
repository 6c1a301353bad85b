#include "platform/sound/PlayerNode.h"

#include <algorithm>
#include <cstring>
#include <exception>

#include "platform/sound/AudioFile.h"
#include "platform/sound/SegmentReader.h"
#include "platform/sound/SoundPriority.h"

namespace ambrel {

namespace {
/// Room for a second at the highest rate of a device.
constexpr std::size_t ringBlocks = 768;
/// The first chunks are small so that the first frames come out early.
constexpr std::size_t firstChunkFrames = 512;
constexpr std::size_t largestChunkFrames = 4096;

std::size_t blocksInASecond(int rateHz) {
    return std::min<std::size_t>(ringBlocks, std::size_t(rateHz) / PlayerBlock::capacity + 1);
}
} // namespace

PlayerNode::PlayerNode(WakeUp& framesReady, bool paced)
    : framesReady_(framesReady), paced_(paced), blocks_(ringBlocks), blocksAhead_(ringBlocks),
      chunk_(2 * largestChunkFrames), thread_([this] { decode(); }) {}

PlayerNode::~PlayerNode() {
    ending_ = true;
    wake_.signal();
    thread_.join();
}

void PlayerNode::play(Run run) {
    {
        const std::scoped_lock lock(wishMutex_);
        wishedEpoch_ = run.epoch;
        std::swap(wish_, run);
    }
    wake_.signal();
}

bool PlayerNode::superseded() const {
    return ending_ || wishedEpoch_ != run_.epoch;
}

void PlayerNode::decode() {
    if (paced_)
        raiseSoundPriority(SoundUrgency::ahead);
    while (!ending_) {
        if (superseded())
            nextRun();
        else if (reader_)
            decodeChunk();
        else
            wake_.wait();
    }
}

void PlayerNode::nextRun() {
    {
        const std::scoped_lock lock(wishMutex_);
        run_ = wish_;
        wish_.file = nullptr;
    }
    reader_ = nullptr;
    if (!run_.file)
        return;
    blocksAhead_ = blocksInASecond(run_.outputRateHz);
    chunkFrames_ = firstChunkFrames;
    try {
        reader_ = std::make_unique<SegmentReader>(run_.file, run_.startFrame, run_.frameCount,
                                                  run_.outputRateHz);
    } catch (const std::exception&) {
        // A rate that cannot be converted: nothing of it can be heard, so the run ends at once.
        reader_ =
            std::make_unique<SegmentReader>(run_.file, run_.startFrame, 0, run_.file->sampleRate());
    }
    place_ = {run_.epoch, reader_->frames(), static_cast<double>(run_.framesBefore),
              static_cast<double>(run_.file->sampleRate()) / run_.outputRateHz,
              static_cast<double>(run_.framesBefore + run_.frameCount)};
}

void PlayerNode::decodeChunk() {
    const std::size_t frames = reader_->read(chunk_.data(), chunkFrames_);
    const bool last = frames < chunkFrames_;
    chunkFrames_ = std::min(2 * chunkFrames_, largestChunkFrames);
    PlayerBlock block;
    block.run = place_;
    // A run without a frame still sends a block, which tells that it begins and ends.
    std::size_t done = 0;
    do {
        block.frames = std::min(frames - done, PlayerBlock::capacity);
        std::copy_n(chunk_.data() + 2 * done, 2 * block.frames, block.samples.data());
        if (!waitForRoom())
            return;
        blocks_.push(block);
        done += block.frames;
    } while (done < frames);
    if (last) {
        decodedEpoch_.store(run_.epoch, std::memory_order_release);
        reader_ = nullptr;
        run_.file = nullptr;
    }
    framesReady_.signal();
}

bool PlayerNode::waitForRoom() {
    while (ringBlocks - blocks_.write_available() >= blocksAhead_) {
        framesReady_.signal();
        if (superseded())
            return false;
        wake_.wait();
    }
    return !superseded();
}

const RunPlace* PlayerNode::open(std::int64_t epoch) noexcept {
    if (opened_.epoch == epoch)
        return &opened_;
    bool dropped = false;
    while (blocks_.read_available() > 0 && blocks_.front().run.epoch < epoch) {
        blocks_.pop();
        dropped = true;
    }
    if (dropped)
        wake_.signal();
    if (blocks_.read_available() == 0 || blocks_.front().run.epoch != epoch)
        return nullptr;
    taken_ = 0;
    opened_ = blocks_.front().run;
    return &opened_;
}

std::size_t PlayerNode::read(float* stereo, std::size_t frames) noexcept {
    std::size_t done = 0;
    bool popped = false;
    while (done < frames && blocks_.read_available() > 0) {
        const PlayerBlock& block = blocks_.front();
        if (block.run.epoch != opened_.epoch)
            break;
        const std::size_t count = std::min(frames - done, block.frames - taken_);
        std::memcpy(stereo + 2 * done, block.samples.data() + 2 * taken_,
                    2 * count * sizeof(float));
        done += count;
        taken_ += count;
        if (taken_ == block.frames) {
            blocks_.pop();
            taken_ = 0;
            popped = true;
        }
    }
    if (popped && blocks_.read_available() < blocksAhead_ * 3 / 4)
        wake_.signal();
    return done;
}

bool PlayerNode::hasAhead(std::size_t frames) noexcept {
    const std::size_t blocks =
        std::min(frames / PlayerBlock::capacity + 2, blocksAhead_.load(std::memory_order_relaxed));
    if (decodedEpoch_.load(std::memory_order_acquire) == opened_.epoch ||
        blocks_.read_available() >= blocks)
        return true;
    wake_.signal();
    return false;
}

} // namespace ambrel
