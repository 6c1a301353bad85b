#include "platform/sound/AudioGraph.h"

#include <atomic>
#include <mutex>
#include <stop_token>

#include "platform/sound/AudioFile.h"
#include "platform/sound/AudioOutput.h"
#include "platform/sound/OutputStage.h"
#include "platform/sound/PlayerNode.h"
#include "platform/sound/RenderThread.h"
#include "platform/sound/SegmentWatch.h"

namespace ambrel {

static_assert(AudioGraph::bandCount == EqualiserUnit::bandCount);

namespace {

/// What the render thread keeps ready beyond the device's largest request. Little, so that a change
/// is heard soon.
constexpr int aheadMs = 4;

struct Segment {
    std::shared_ptr<AudioFile> file;
    PassBegin first;
    std::int64_t firstEpoch = 0;
    std::optional<Continuation> next;
    std::int64_t frameCount = 0; ///< of the pass being watched
};

/// None where there is nothing to play.
std::optional<Continuation> possible(const std::optional<Continuation>& next) {
    return next && next->frameCount > 0 && next->passes > 0 ? next : std::nullopt;
}

} // namespace

/// The client's commands and the device's rate meet in here; everything else runs by itself. The
/// mutex is held for as long as it takes to write down a wish, never while anything is waited for.
class AudioGraph::Impl final : public FrameSource {
  public:
    explicit Impl(std::unique_ptr<AudioOutput> output);
    ~Impl() override;

    void prepare(int sampleRateHz, std::size_t largestRequest) override;
    void render(float* stereo, std::size_t frames) noexcept override;
    std::size_t awaitFrames(std::size_t frames) override;

    void start();
    void schedule(Segment segment, Completion completion);
    void follow(const std::optional<Continuation>& next);
    std::optional<Continuation> runningOn() const;
    bool goOn(const Continuation& wanted, Completion completion);
    void setPlaying(bool playing);
    void stop();
    std::optional<double> playerTime() const;

    SoundSettings settings;
    bool running = false;

  private:
    void playFrom(const OutputStage::Place& place);
    void rest();

    const bool isPaced_;      ///< for prepare(), when the output may be ending
    std::stop_source ending_; ///< what is being prepared for a device is given up

    mutable std::mutex mutex_; ///< guards what follows
    std::int64_t epoch_ = 0;
    std::optional<Segment> segment_;
    int rateHz_ = 0; ///< the device's; 0 before it is known

    std::mutex restMutex_; ///< guards the output's start and stop
    bool resting_ = false;

    // Each ends its threads, and then what they use may end: the order counts.
    PlayGate gate_;
    WakeUp renderWake_, watchWake_, demandMet_;
    std::atomic<std::size_t> demand_{0};
    OutputStage stage_;
    PlayerNode player_;
    std::size_t largestRequest_ = 0;             ///< the opening thread's
    std::unique_ptr<RenderThread> renderThread_; ///< the opening thread's, between renders
    std::unique_ptr<AudioOutput> output_;
    SegmentWatch watch_; ///< asks all of them
};

AudioGraph::Impl::Impl(std::unique_ptr<AudioOutput> output)
    : isPaced_(output->isPaced()), stage_(gate_, renderWake_, watchWake_),
      player_(renderWake_, isPaced_), output_(std::move(output)),
      watch_({watchWake_, stage_, [this] { return output_->framesHeard(); }, [this] { rest(); },
              isPaced_}) {
    output_->open(*this);
}

/// A device may be opening, and the output waits until this is prepared for it.
AudioGraph::Impl::~Impl() {
    ending_.request_stop();
}

/// On the thread that opens the device. A device with the same needs goes on where the last one
/// ended; another rate takes new units, and what plays begins anew where it had come.
void AudioGraph::Impl::prepare(int sampleRateHz, std::size_t largestRequest) {
    {
        const std::scoped_lock lock(mutex_);
        if (renderThread_ && rateHz_ == sampleRateHz && largestRequest <= largestRequest_)
            return;
    }
    renderThread_ = nullptr;
    largestRequest_ = largestRequest;
    const std::size_t ahead =
        largestRequest + (isPaced_ ? std::size_t(sampleRateHz) * aheadMs / 1000 : 0);
    auto renderThread = std::make_unique<RenderThread>(
        RenderThread::Wiring{gate_, settings, player_, renderWake_, demandMet_,
                             isPaced_ ? nullptr : &demand_, ending_.get_token()},
        sampleRateHz, ahead);
    stage_.attach(renderThread->ring(), sampleRateHz, largestRequest);
    renderThread_ = std::move(renderThread);
    const std::scoped_lock lock(mutex_);
    rateHz_ = sampleRateHz;
    const OutputStage::Progress progress = stage_.progress();
    const bool begun = segment_ && progress.epoch >= segment_->firstEpoch;
    if (segment_ && !(begun && progress.ended))
        playFrom(begun ? stage_.place() : OutputStage::Place{segment_->first});
}

void AudioGraph::Impl::render(float* stereo, std::size_t frames) noexcept {
    stage_.render(stereo, frames);
}

std::size_t AudioGraph::Impl::awaitFrames(std::size_t frames) {
    const RenderRing& ring = renderThread_->ring();
    const PlayGate::State gate = gate_.get();
    const OutputStage::Progress progress = stage_.progress();
    if (!gate.playing || (progress.ended && progress.epoch == gate.epoch))
        return 0;
    demand_.store(frames, std::memory_order_release);
    renderWake_.signal();
    while (ring.framesOf(gate.epoch) < frames && ring.finishedEpoch() != gate.epoch)
        demandMet_.wait();
    demand_.store(0, std::memory_order_release);
    return std::min(frames, ring.framesOf(gate.epoch));
}

/// With the mutex held: what is left of the segment under a new epoch.
void AudioGraph::Impl::playFrom(const OutputStage::Place& place) {
    ++epoch_;
    const PassBegin& pass = place.pass;
    player_.play({epoch_,
                  segment_->file,
                  {-static_cast<std::int64_t>(place.fileFrame), pass.startFrame, pass.frameCount, 1,
                   pass.pass, place.pauseSeconds},
                  rateHz_},
                 segment_->next);
    gate_.set({epoch_, gate_.get().playing});
    renderWake_.signal();
}

void AudioGraph::Impl::start() {
    const std::scoped_lock lock(restMutex_);
    if (!running || resting_)
        output_->start();
    running = true;
    resting_ = false;
}

/// On the watch's thread, some time after the last sound.
void AudioGraph::Impl::rest() {
    const std::scoped_lock lock(restMutex_);
    if (watch_.isActive() || !running || resting_)
        return;
    output_->stop();
    resting_ = true;
}

void AudioGraph::Impl::schedule(Segment segment, Completion completion) {
    const std::scoped_lock lock(mutex_);
    segment_ = std::move(segment);
    segment_->firstEpoch = epoch_ + 1;
    watch_.add(segment_->firstEpoch, std::move(completion));
    watch_.setActive(false);
    gate_.set({epoch_, false});
    if (rateHz_ > 0)
        playFrom({segment_->first});
}

void AudioGraph::Impl::follow(const std::optional<Continuation>& next) {
    const std::scoped_lock lock(mutex_);
    if (!segment_ || segment_->next == next)
        return;
    segment_->next = next;
    if (rateHz_ > 0)
        player_.follow(next);
}

std::optional<Continuation> AudioGraph::Impl::runningOn() const {
    const std::scoped_lock lock(mutex_);
    return segment_ && gate_.get().playing ? watch_.following() : std::nullopt;
}

bool AudioGraph::Impl::goOn(const Continuation& wanted, Completion completion) {
    const std::scoped_lock lock(mutex_);
    if (!segment_ || !gate_.get().playing || !watch_.goOn(wanted, std::move(completion)))
        return false;
    segment_->frameCount = wanted.frameCount;
    return true;
}

void AudioGraph::Impl::setPlaying(bool playing) {
    {
        const std::scoped_lock lock(mutex_);
        if (!segment_)
            return;
        watch_.setActive(playing);
        gate_.set({epoch_, playing});
        renderWake_.signal();
    }
    if (playing && running)
        start();
}

void AudioGraph::Impl::stop() {
    const std::scoped_lock lock(mutex_);
    if (!segment_)
        return;
    segment_.reset();
    gate_.set({++epoch_, false});
    PlayerNode::Segment nothing;
    nothing.epoch = epoch_;
    player_.play(std::move(nothing), std::nullopt);
    renderWake_.signal();
    watch_.drop();
    watch_.setActive(false);
}

std::optional<double> AudioGraph::Impl::playerTime() const {
    const std::scoped_lock lock(mutex_);
    if (!segment_)
        return std::nullopt;
    const auto heard = stage_.log().placeAt(output_->framesHeard(), segment_->firstEpoch);
    const std::int64_t watched = watch_.watchedPass();
    if (!heard || heard->pass < watched)
        return std::nullopt;
    return heard->pass > watched ? static_cast<double>(segment_->frameCount) : heard->fileFrame;
}

AudioGraph::AudioGraph(std::unique_ptr<AudioOutput> output)
    : impl_(std::make_unique<Impl>(std::move(output))) {}

AudioGraph::~AudioGraph() = default;

bool AudioGraph::isRunning() const {
    return impl_->running;
}

void AudioGraph::start() {
    impl_->start();
}

void AudioGraph::scheduleSegment(std::shared_ptr<AudioFile> file, std::int64_t startFrame,
                                 std::int64_t frameCount, Completion completion,
                                 const std::optional<Continuation>& next) {
    frameCount = std::max<std::int64_t>(0, frameCount);
    impl_->schedule(
        {std::move(file), {0, startFrame, frameCount, 0}, 0, possible(next), frameCount},
        std::move(completion));
}

void AudioGraph::setContinuation(const std::optional<Continuation>& next) {
    impl_->follow(possible(next));
}

std::optional<Continuation> AudioGraph::runningOn() const {
    return impl_->runningOn();
}

bool AudioGraph::goOn(const Continuation& wanted, Completion completion) {
    return impl_->goOn(wanted, std::move(completion));
}

void AudioGraph::play() {
    impl_->setPlaying(true);
}

void AudioGraph::pause() {
    impl_->setPlaying(false);
}

void AudioGraph::stop() {
    impl_->stop();
}

std::optional<double> AudioGraph::playerTime() const {
    return impl_->playerTime();
}

void AudioGraph::setRate(float rate) {
    impl_->settings.rate = rate;
}

void AudioGraph::setPitch(float cents) {
    impl_->settings.cents = cents;
}

void AudioGraph::setEqualiserBypass(bool bypass) {
    impl_->settings.equaliserBypass = bypass;
}

void AudioGraph::setEqualiserBand(int band, float frequencyHz, float bandwidth, float gain) {
    if (band < 0 || band >= bandCount)
        return;
    SoundSettings::Band& target = impl_->settings.bands[static_cast<std::size_t>(band)];
    target.frequencyHz = frequencyHz;
    target.bandwidthOctaves = bandwidth;
    target.gainDb = gain;
}

void AudioGraph::setEqualiserGain(int band, float gain) {
    if (band >= 0 && band < bandCount)
        impl_->settings.bands[static_cast<std::size_t>(band)].gainDb = gain;
}

} // namespace ambrel
