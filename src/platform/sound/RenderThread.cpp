#include "platform/sound/RenderThread.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/sound/SoundPriority.h"

namespace ambrel {

RenderThread::RenderThread(Wiring wiring, int sampleRateHz, std::size_t framesAhead)
    : wiring_(std::move(wiring)), player_(wiring_.player.ring()), sampleRateHz_(sampleRateHz),
      framesAhead_(framesAhead), ring_(framesAhead), timePitch_(sampleRateHz, wiring_.ending),
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
        try {
            if (!step())
                wiring_.wake.wait();
        } catch (...) {
            isBroken_ = true; // memory has run out, most likely
            player_.refuse();
        }
    }
}

bool RenderThread::step() {
    answerQuestion();
    if (wiring_.demand && !canMeetDemand())
        return false;
    const PlayGate::State gate = wiring_.gate.get();
    if (run_.epoch != gate.epoch || isMade_) {
        if (!enterRun(gate))
            return false;
    }
    const std::size_t frames = std::min(room(), RenderBlock::capacity - block_.frames);
    if (frames == 0 || !ring_.hasRoom())
        return false;
    const std::size_t made = pauseLeft_ > 0 ? makePause(frames) : makeFrames(frames);
    finishFrames();
    return made > 0 || isMade_;
}

/// Offline: whether frames are demanded and the player has all that they can take. Before that
/// nothing is done, not even begun, since what is set meanwhile counts.
bool RenderThread::canMeetDemand() noexcept {
    return wiring_.demand->load(std::memory_order_acquire) > 0 &&
           wiring_.player.hasAhead(timePitch_.mostInput());
}

/// The run that is to be made next; false if there is none, or not yet.
bool RenderThread::enterRun(PlayGate::State gate) {
    const RunPlace* run = player_.next(gate.epoch);
    const bool isFollowing = run_.epoch == gate.epoch;
    if (!run || !gate.playing || (isFollowing && (isBroken_ || !player_.end().follows)))
        return false;
    begin(*run);
    return true;
}

void RenderThread::begin(const RunPlace& run) {
    const bool isFollowing = run.epoch == run_.epoch;
    const double pause = run.pauseFrames + (isFollowing ? framesOwed() : 0);
    pauseLeft_ = std::max<std::int64_t>(0, std::llround(pause));
    owed_ = pause - static_cast<double>(pauseLeft_);
    run_ = run;
    player_.enter();
    isMade_ = isBroken_ = false;
    fadeInStep_ = isFollowing || pauseLeft_ > 0 ? 0 : fade_.frames();
    endGain_ = 1;
    if (!isFollowing)
        block_.frames = 0;
    block_.epoch = run.epoch;
    block_.pauseFrames = pauseLeft_;
    place_ = player_.passes().at(0);
    block_.fileFrameBegin = place_.fileFrame;
    applySettings();
    timePitch_.begin(player_.end().frame);
    if (!isFollowing)
        equaliser_.reset();
    tellProgress();
}

/// What rounding to whole frames has taken from the runs so far; a pause makes up for it.
double RenderThread::framesOwed() noexcept {
    constexpr double most = RenderBlock::capacity;
    const RunEnd end = player_.end();
    const double cut = (end.exactFrame - static_cast<double>(end.frame)) / timePitch_.rate();
    return std::clamp(owed_ + cut + timePitch_.framesCut(), -most, most);
}

void RenderThread::answerQuestion() {
    BranchQuestion& question = player_.question();
    if (!question.take())
        return;
    const bool accepted = accepts(question.point());
    tellProgress();
    player_.answer(accepted);
}

/// Whether what was announced still reaches what is to be made in time.
bool RenderThread::accepts(const BranchPoint& point) {
    if (point.epoch != run_.epoch || point.run > run_.run)
        return player_.branch(point);
    if (point.run < run_.run || point.boundary < nextChangeable())
        return false;
    const bool isNewEndOnly = point.frame >= std::min(point.end.frame, player_.end().frame);
    if (!player_.branch(point))
        return false;
    if (!isNewEndOnly)
        timePitch_.replaceFrom(point.frame);
    return true;
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

std::size_t RenderThread::makeFrames(std::size_t frames) {
    isMade_ = isBroken_;
    if (isBroken_)
        return 0;
    applySettings();
    float* stereo = block_.samples.data() + 2 * block_.frames;
    const std::size_t made = timePitch_.process(player_, stereo, frames);
    equaliser_.process(stereo, made);
    fadeStart(stereo, made);
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

/// Sends the block on its way if it is full, a pass ends, or no more may be made now.
void RenderThread::finishFrames() noexcept {
    const PassMap::Place before = place_;
    const PassMap::Place now = player_.passes().at(timePitch_.position());
    // A stretcher that takes over may stand a little further back; a pass ends only once, and its
    // play head does not go back.
    if (pauseLeft_ == 0 &&
        std::pair(now.pass.pass, now.fileFrame) >= std::pair(before.pass.pass, before.fileFrame))
        place_ = now;
    const RunEnd end = player_.end();
    const bool isRunOver = isMade_ && pauseLeft_ == 0;
    const bool isSeam = place_.pass.pass > before.pass.pass;
    block_.last = isRunOver && (isBroken_ || !end.follows);
    block_.passEnds = isSeam || (isRunOver && !block_.last);
    block_.next = isRunOver ? end.next : place_.pass;
    block_.pass = before.pass;
    block_.fileFrameEnd =
        isSeam || isRunOver ? static_cast<double>(before.pass.frameCount) : place_.fileFrame;
    const bool isDemandMet = wiring_.demand && block_.frames > 0 && room() == 0;
    // Before the block: whoever waits for it may announce something next.
    tellProgress();
    if (isRunOver || isSeam || block_.frames == RenderBlock::capacity || isDemandMet)
        push();
}

void RenderThread::push() noexcept {
    ring_.push(block_);
    block_.frames = 0;
    block_.pauseFrames = pauseLeft_;
    block_.fileFrameBegin = place_.fileFrame;
    if (wiring_.demand)
        wiring_.demandMet.signal();
}

void RenderThread::tellProgress() noexcept {
    player_.setProgress({run_.epoch, run_.run, nextChangeable()});
}

/// The first frame of the run that a pass may still end at otherwise than was announced: the seam
/// before it, 5 ms long, has not begun at normal speed.
std::int64_t RenderThread::nextChangeable() const noexcept {
    constexpr double noticeSeconds = 0.01;
    if (isMade_)
        return PassCourse::open;
    const double notice = noticeSeconds * sampleRateHz_ * timePitch_.rate();
    return static_cast<std::int64_t>(std::ceil(timePitch_.position() + notice));
}

/// The first 3 ms of a run that follows a pause; the first of a segment is faded where it is heard.
void RenderThread::fadeStart(float* stereo, std::size_t frames) noexcept {
    for (std::size_t i = 0; i < frames && fadeInStep_ < fade_.frames(); ++i, ++fadeInStep_) {
        stereo[2 * i] *= fade_.gain(fadeInStep_);
        stereo[2 * i + 1] *= fade_.gain(fadeInStep_);
    }
}

/// The run's last 3 ms, so that it does not break off with a click. Where another speed brings the
/// end nearer or takes it away, the gain goes on from where it is.
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
        stereo[2 * i] *= endGain_;
        stereo[2 * i + 1] *= endGain_;
    }
}

} // namespace ambrel
