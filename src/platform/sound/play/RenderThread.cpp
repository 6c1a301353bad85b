#include "platform/sound/play/RenderThread.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/sound/thread/SoundPriority.h"

namespace ambrel {

RenderThread::RenderThread(Wiring wiring, int sampleRateHz, std::size_t margin)
    : wiring_(std::move(wiring)), sampleRateHz_(sampleRateHz), ring_(margin),
      source_(wiring_.cache, sampleRateHz), timePitch_(sampleRateHz, wiring_.ending),
      equaliser_(sampleRateHz), fade_(sampleRateHz), limiter_(sampleRateHz),
      held_(limiter_.lookAhead() + 2), thread_([this] { run(); }) {}

RenderThread::~RenderThread() {
    ending_ = true;
    wiring_.wake.signal();
    thread_.join();
}

void RenderThread::run() {
    if (!wiring_.demand)
        raiseSoundPriority(SoundUrgency::onDemand);
    while (!ending_) {
        try {
            if (!step())
                wiring_.wake.wait();
        } catch (...) {
            isBroken_ = true; // memory has run out, most likely
            isMade_ = false;  // the end is still to be told
        }
    }
}

bool RenderThread::step() {
    release();
    // Offline, changes before frames are demanded apply to the first that is made for them.
    if (!isDemanded())
        return false;
    takeRequest();
    const TransportState::Value transport = wiring_.transport.get();
    if (const ExpectedStart* expected = wiring_.expectations.take())
        expected_ = *expected;
    if (transport.playing)
        expected_.reset();
    if (expected_) {
        source_.readAhead(*expected_);
        return false;
    }
    if (newest_ != transport.epoch)
        return false;
    if (!isBroken_) {
        if (const auto replaced = source_.update(nextChangeable(), isStretched()))
            timePitch_.replaceFrom(*replaced);
        if (wiring_.demand && !source_.isComplete())
            return false;
    }
    if (epoch_ != transport.epoch || isMade_) {
        if (!enterRun(transport))
            return false;
    }
    const std::size_t frames = std::min(room(), RenderBlock::capacity - block_.frames);
    if (frames == 0 || !ring_.hasRoom())
        return false;
    const std::size_t made = pauseLeft_ > 0 ? makePause(frames) : makeFrames(frames);
    finishFrames();
    return made > 0 || isMade_;
}

bool RenderThread::isDemanded() noexcept {
    return !wiring_.demand || wiring_.demand->load(std::memory_order_acquire) >
                                  ring_.framesOf(wiring_.transport.get().epoch);
}

void RenderThread::takeRequest() {
    const PlayRequest* request = wiring_.requests.take();
    if (!request)
        return;
    if (request->epoch == newest_) {
        source_.announce(request->next);
        return;
    }
    newest_ = request->epoch;
    isBroken_ = false;
    source_.prepare(*request);
}

/// Enters the next run; false if there is none, or not yet.
bool RenderThread::enterRun(TransportState::Value transport) {
    if (!transport.playing)
        return false;
    if (epoch_ != transport.epoch) {
        if (!isBroken_ && !source_.isReady())
            return false;
        epoch_ = transport.epoch;
        begin(0, false);
        return true;
    }
    const double owed = framesOwed();
    if (isBroken_ || !source_.beginNextRun())
        return false;
    begin(owed, true);
    return true;
}

/// `owed`: rounding error to add to the pause, in frames.
void RenderThread::begin(double owed, bool isFollowing) {
    constexpr double longestPauseSeconds = 1e6;
    const double pause =
        std::clamp(source_.pauseSeconds(), 0.0, longestPauseSeconds) * sampleRateHz_ + owed;
    pauseLeft_ = std::max<std::int64_t>(0, std::llround(pause));
    owed_ = pause - static_cast<double>(pauseLeft_);
    isMade_ = false;
    fadeInStep_ = isFollowing || pauseLeft_ > 0 ? 0 : fade_.frames();
    endGain_ = 1;
    if (!isFollowing) {
        block_.frames = 0;
        held_.clear();
        limiter_.reset();
    }
    block_.epoch = epoch_;
    block_.pauseFrames = pauseLeft_;
    place_ = source_.placeAt(0);
    block_.fileFrameBegin = place_.fileFrame;
    applySettings();
    timePitch_.begin(source_);
    if (!isFollowing)
        equaliser_.reset();
}

/// Frames lost to rounding so far in the segment; the next pause makes up for them.
double RenderThread::framesOwed() noexcept {
    constexpr double most = RenderBlock::capacity;
    const double cut = source_.framesCut() / timePitch_.rate();
    return std::clamp(owed_ + cut + timePitch_.framesCut(), -most, most);
}

/// Frames that may be rendered now. Offline that is a block at a time, as long as some are
/// demanded.
std::size_t RenderThread::room() const noexcept {
    if (wiring_.demand)
        return RenderBlock::capacity;
    const std::size_t target = ring_.wanted() + limiter_.lookAhead();
    const std::size_t made = ring_.framesOf(epoch_) + limiter_.waiting() + block_.frames;
    return target > made ? target - made : 0;
}

/// Whether attacks would be smeared.
bool RenderThread::isStretched() const noexcept {
    return wiring_.settings.rate.load(std::memory_order_relaxed) != 1 ||
           wiring_.settings.cents.load(std::memory_order_relaxed) != 0;
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

std::size_t RenderThread::makeFrames(std::size_t frames) {
    isMade_ = isBroken_;
    if (isBroken_)
        return 0;
    applySettings();
    float* stereo = block_.samples.data() + 2 * block_.frames;
    const std::size_t made = timePitch_.process(stereo, frames);
    equaliser_.process(stereo, made);
    fadeInStep_ = fade_.in(stereo, made, fadeInStep_);
    fadeEnd(stereo, made);
    block_.frames += made;
    isMade_ = timePitch_.finished();
    return made;
}

std::size_t RenderThread::makePause(std::size_t frames) noexcept {
    frames = static_cast<std::size_t>(std::min(pauseLeft_, static_cast<std::int64_t>(frames)));
    float* stereo = block_.samples.data() + 2 * block_.frames;
    std::fill(stereo, stereo + 2 * frames, 0.0F);
    block_.frames += frames;
    pauseLeft_ -= static_cast<std::int64_t>(frames);
    return frames;
}

/// Puts the block with those held back if it is full or a pass ends.
void RenderThread::finishFrames() {
    const Place before = place_;
    const Place now = source_.placeAt(timePitch_.position());
    // A stretcher that takes over may be slightly behind; neither boundaries nor the play head may
    // be repeated.
    if (pauseLeft_ == 0 && std::pair(now.pass.number, now.fileFrame) >=
                               std::pair(before.pass.number, before.fileFrame))
        place_ = now;
    const bool isRunOver = isMade_ && pauseLeft_ == 0;
    const std::optional<Pass> after = isRunOver && !isBroken_ ? source_.afterEnd() : std::nullopt;
    const bool isBoundary = place_.pass.number > before.pass.number;
    block_.last = isRunOver && !after;
    block_.passEnds = isBoundary || after;
    block_.next = after.value_or(place_.pass);
    block_.pass = before.pass;
    block_.fileFrameEnd =
        isBoundary || isRunOver ? static_cast<double>(before.pass.frameCount) : place_.fileFrame;
    if (isRunOver || isBoundary || block_.frames == RenderBlock::capacity)
        hold(isRunOver);
}

void RenderThread::hold(bool isRunOver) {
    limiter_.see(block_.samples.data(), block_.frames);
    if (isRunOver)
        limiter_.seeEnd();
    if (held_.full())
        held_.set_capacity(2 * held_.capacity());
    held_.push_back(block_);
    block_.frames = 0;
    block_.pauseFrames = pauseLeft_;
    block_.fileFrameBegin = place_.fileFrame;
}

/// Pushes the blocks that need be held no longer.
void RenderThread::release() noexcept {
    while (!held_.empty() && ring_.hasRoom() &&
           limiter_.apply(held_.front().samples.data(), held_.front().frames)) {
        ring_.push(held_.front());
        held_.pop_front();
        if (wiring_.demand)
            wiring_.demandMet.signal();
    }
}

/// The first frame of the run at which a boundary can still change: before the 5 ms crossfade at
/// normal speed has begun.
double RenderThread::nextChangeable() const noexcept {
    constexpr double noticeSeconds = 0.01;
    if (epoch_ != newest_)
        return 0;
    if (isMade_)
        return double(FrameInput::endless);
    return std::ceil(timePitch_.position() +
                     noticeSeconds * sampleRateHz_ * timePitch_.inputSpeed());
}

/// Fades out the last 3 ms of the run. If a change of speed moves the end, the gain continues from
/// its current value.
void RenderThread::fadeEnd(float* stereo, std::size_t frames) noexcept {
    const auto left = static_cast<std::size_t>(std::max<std::int64_t>(0, timePitch_.framesLeft()));
    if (left >= fade_.frames() && endGain_ == 1)
        return;
    const float recovery = 1 / static_cast<float>(fade_.frames());
    for (std::size_t i = 0; i < frames; ++i) {
        const std::size_t behind = left + frames - 1 - i;
        if (behind < fade_.frames())
            endGain_ *= fade_.gain(behind) / fade_.gain(behind + 1);
        else
            endGain_ = std::min(1.0F, endGain_ + recovery);
        Fade::scale(stereo + 2 * i, endGain_);
    }
}

} // namespace ambrel
