#include "platform/sound/AudioGraph.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <stop_token>
#include <utility>

#include "platform/sound/AudioFile.h"
#include "platform/sound/AudioOutput.h"
#include "platform/sound/play/FileReader.h"
#include "platform/sound/play/FrameCache.h"
#include "platform/sound/play/OutputStage.h"
#include "platform/sound/play/RenderThread.h"
#include "platform/sound/play/SegmentWatch.h"
#include "platform/sound/thread/Mailbox.h"

namespace ambrel {

static_assert(AudioGraph::bandCount == EqualiserUnit::bandCount);

namespace {

/// What the render thread keeps ready beyond the device's next request: little, so that changes
/// are heard soon, but more than the blocks it is still at work on.
constexpr int aheadMs = 3;
constexpr std::size_t leastAhead = 2 * RenderBlock::capacity;

struct Segment {
    std::shared_ptr<AudioFile> file;
    Pass first;
    std::int64_t firstEpoch = 0;
    std::optional<Announcement> next;
    std::int64_t frameCount = 0; ///< of the pass being watched
};

/// The announcement if it can be played.
std::optional<Announcement> possible(const std::optional<Announcement>& next) {
    return next && next->frameCount > 0 && next->passes > 0 ? next : std::nullopt;
}

/// Receives the client's commands and the device's rate, and passes them to the threads. The mutex
/// is held only to record a command, never while waiting.
class SoundGraph final : public AudioGraph, private FrameSource {
  public:
    explicit SoundGraph(std::unique_ptr<AudioOutput> output);
    ~SoundGraph() override;

    bool isRunning() const override { return running_; }
    void start() override;
    void expect(const std::shared_ptr<AudioFile>& file, std::int64_t frame) override;
    void scheduleSegment(std::shared_ptr<AudioFile> file, std::int64_t startFrame,
                         std::int64_t frameCount, Completion completion,
                         const std::optional<Announcement>& next) override;
    void announce(const std::optional<Announcement>& next) override;
    std::optional<std::int64_t> runningOn() const override;
    bool adopt(std::int64_t id, Completion completion) override;
    void play() override { setPlaying(true); }
    void pause() override { setPlaying(false); }
    void stop() override;
    std::optional<double> playerTime() const override;
    void setRate(float rate) override { settings_.rate = rate; }
    void setPitch(float cents) override { settings_.cents = cents; }
    void setEqualiserBypass(bool bypass) override { settings_.equaliserBypass = bypass; }
    void setEqualiserBand(int band, float frequencyHz, float bandwidth, float gain) override;
    void setEqualiserGain(int band, float gain) override;

  private:
    void prepare(int sampleRateHz, std::size_t request) override;
    void render(float* stereo, std::size_t frames) noexcept override;
    std::size_t awaitFrames(std::size_t frames) override;
    void setPlaying(bool playing);
    void playFrom(const Place& place);
    void openOutput();
    void openForReading(const std::shared_ptr<AudioFile>& file);
    void rest();

    SoundSettings settings_;
    bool running_ = false;

    mutable std::mutex mutex_; ///< guards what follows
    std::int64_t epoch_ = 0;
    std::optional<Segment> segment_;
    PlayRequest request_;               ///< the newest
    std::weak_ptr<AudioFile> lastFile_; ///< the last file played
    std::int64_t fileNumber_ = 0;       ///< its number
    int rateHz_ = 0;                    ///< the device's; 0 before it is known

    std::mutex restMutex_; ///< guards the output's start and stop
    bool resting_ = false;

    const bool isPaced_;      ///< for prepare(), when the output may be ending
    std::stop_source ending_; ///< abandons preparing for a device

    // Members are destroyed in reverse: each joins its threads before what they use is destroyed.
    TransportState transport_;
    WakeUp renderWake_, watchWake_, demandMet_;
    std::atomic<std::size_t> demand_{0};
    OutputStage stage_;
    FrameCache cache_;  ///< used by the render thread only
    FileReader reader_; ///< its thread fills the cache's blocks
    Mailbox<PlayRequest> requests_;
    Mailbox<ExpectedStart> expectations_;
    /// Used by the thread that opens the device, and in awaitFrames().
    std::unique_ptr<RenderThread> renderThread_;
    std::unique_ptr<AudioOutput> output_;
    bool isOpen_ = false; ///< the output
    SegmentWatch watch_;  ///< uses all of them
};

SoundGraph::SoundGraph(std::unique_ptr<AudioOutput> output)
    : isPaced_(output->isPaced()), stage_(transport_, renderWake_, watchWake_), cache_(reader_),
      reader_(renderWake_, isPaced_), output_(std::move(output)),
      watch_({watchWake_, stage_, [this] { return output_->framesHeard(); }, [this] { rest(); },
              isPaced_}) {}

/// A device may be opening, and the output would wait until prepare() returns.
SoundGraph::~SoundGraph() {
    ending_.request_stop();
}

/// On the thread that opens the device. The same rate continues where the last device ended;
/// another rate needs a new render thread, and the rest of the segment starts from where it was.
void SoundGraph::prepare(int sampleRateHz, std::size_t request) {
    {
        const std::scoped_lock lock(mutex_);
        if (renderThread_ && rateHz_ == sampleRateHz) {
            renderThread_->ring().begin(request);
            renderWake_.signal();
            return;
        }
    }
    renderThread_ = nullptr;
    const std::size_t ahead =
        isPaced_ ? std::max(std::size_t(sampleRateHz) * aheadMs / 1000, leastAhead) : 0;
    auto renderThread = std::make_unique<RenderThread>(
        RenderThread::Wiring{transport_, settings_, requests_, expectations_, cache_, renderWake_,
                             demandMet_, isPaced_ ? nullptr : &demand_, ending_.get_token()},
        sampleRateHz, ahead);
    renderThread->ring().begin(request);
    stage_.attach(renderThread->ring(), sampleRateHz);
    renderThread_ = std::move(renderThread);
    const std::scoped_lock lock(mutex_);
    rateHz_ = sampleRateHz;
    const OutputStage::Progress progress = stage_.progress();
    const bool begun = segment_ && progress.epoch >= segment_->firstEpoch;
    if (segment_ && begun && progress.ended)
        transport_.set({++epoch_, false}); // nothing that is announced from now on plays it again
    else if (segment_)
        playFrom(begun ? stage_.place() : Place{segment_->first});
}

void SoundGraph::render(float* stereo, std::size_t frames) noexcept {
    stage_.render(stereo, frames);
}

std::size_t SoundGraph::awaitFrames(std::size_t frames) {
    const RenderRing& ring = renderThread_->ring();
    const TransportState::Value transport = transport_.get();
    const OutputStage::Progress progress = stage_.progress();
    if (!transport.playing || (progress.ended && progress.epoch == transport.epoch))
        return 0;
    demand_.store(frames, std::memory_order_release);
    renderWake_.signal();
    while (ring.framesOf(transport.epoch) < frames && ring.finishedEpoch() != transport.epoch)
        demandMet_.wait();
    demand_.store(0, std::memory_order_release);
    return std::min(frames, ring.framesOf(transport.epoch));
}

/// Plays the rest of the segment under a new epoch. Requires the mutex.
void SoundGraph::playFrom(const Place& place) {
    const std::shared_ptr<AudioFile>& file = segment_->file;
    openForReading(file);
    request_ = {++epoch_, fileNumber_, file->sampleRate(), file->length(), place, segment_->next};
    requests_.put(request_);
    transport_.set({epoch_, transport_.get().playing});
    renderWake_.signal();
}

/// Requires the mutex.
void SoundGraph::openForReading(const std::shared_ptr<AudioFile>& file) {
    if (lastFile_.owner_before(file) || file.owner_before(lastFile_))
        ++fileNumber_;
    lastFile_ = file;
    reader_.open(file, fileNumber_);
}

/// Not before there is something to play: while the program starts, it has other things to do.
void SoundGraph::openOutput() {
    if (!std::exchange(isOpen_, true))
        output_->open(*this);
}

void SoundGraph::expect(const std::shared_ptr<AudioFile>& file, std::int64_t frame) {
    openOutput();
    const std::scoped_lock lock(mutex_);
    if (transport_.get().playing)
        return;
    output_->setTitle(file->path().stem());
    openForReading(file);
    expectations_.put({fileNumber_, file->length(), frame});
    renderWake_.signal();
}

void SoundGraph::start() {
    openOutput();
    const std::scoped_lock lock(restMutex_);
    if (!running_ || resting_)
        output_->start();
    running_ = true;
    resting_ = false;
}

/// Called by the watch's thread some time after the last sound.
void SoundGraph::rest() {
    const std::scoped_lock lock(restMutex_);
    if (watch_.isActive() || !running_ || resting_)
        return;
    output_->stop();
    resting_ = true;
}

void SoundGraph::scheduleSegment(std::shared_ptr<AudioFile> file, std::int64_t startFrame,
                                 std::int64_t frameCount, Completion completion,
                                 const std::optional<Announcement>& next) {
    const Pass first{0, 0, startFrame, std::max<std::int64_t>(0, frameCount), 0};
    const std::scoped_lock lock(mutex_);
    segment_ = {std::move(file), first, epoch_ + 1, possible(next), first.frameCount};
    watch_.add(segment_->firstEpoch, std::move(completion));
    watch_.setActive(false);
    transport_.set({epoch_, false});
    if (rateHz_ > 0)
        playFrom({segment_->first});
}

void SoundGraph::announce(const std::optional<Announcement>& next) {
    const std::scoped_lock lock(mutex_);
    if (!segment_)
        return;
    segment_->next = possible(next);
    if (rateHz_ == 0)
        return;
    request_.next = segment_->next;
    requests_.put(request_);
    renderWake_.signal();
}

std::optional<std::int64_t> SoundGraph::runningOn() const {
    const std::scoped_lock lock(mutex_);
    const auto pass = segment_ && transport_.get().playing ? watch_.following() : std::nullopt;
    return pass ? std::optional(pass->announcement) : std::nullopt;
}

bool SoundGraph::adopt(std::int64_t id, Completion completion) {
    const std::scoped_lock lock(mutex_);
    if (!segment_ || !transport_.get().playing)
        return false;
    const auto pass = watch_.adopt(id, std::move(completion));
    if (pass)
        segment_->frameCount = pass->frameCount;
    return pass.has_value();
}

void SoundGraph::setPlaying(bool playing) {
    {
        const std::scoped_lock lock(mutex_);
        if (!segment_)
            return;
        watch_.setActive(playing);
        transport_.set({epoch_, playing});
        renderWake_.signal();
    }
    if (playing && running_)
        start();
}

void SoundGraph::stop() {
    const std::scoped_lock lock(mutex_);
    if (!segment_)
        return;
    segment_.reset();
    transport_.set({++epoch_, false});
    reader_.open(nullptr, 0);
    request_ = {};
    request_.epoch = epoch_;
    requests_.put(request_);
    renderWake_.signal();
    watch_.drop();
    watch_.setActive(false);
}

std::optional<double> SoundGraph::playerTime() const {
    const std::scoped_lock lock(mutex_);
    if (!segment_)
        return std::nullopt;
    const auto heard = stage_.log().placeAt(output_->framesHeard(), segment_->firstEpoch);
    const std::int64_t watched = watch_.watchedPass();
    if (!heard || heard->pass < watched)
        return std::nullopt;
    return heard->pass > watched ? static_cast<double>(segment_->frameCount) : heard->fileFrame;
}

void SoundGraph::setEqualiserBand(int band, float frequencyHz, float bandwidth, float gain) {
    if (band < 0 || band >= bandCount)
        return;
    SoundSettings::Band& target = settings_.bands[static_cast<std::size_t>(band)];
    target.frequencyHz = frequencyHz;
    target.bandwidthOctaves = bandwidth;
    target.gainDb = gain;
}

void SoundGraph::setEqualiserGain(int band, float gain) {
    if (band >= 0 && band < bandCount)
        settings_.bands[static_cast<std::size_t>(band)].gainDb = gain;
}

} // namespace

std::unique_ptr<AudioGraph> AudioGraph::create(std::unique_ptr<AudioOutput> output) {
    return std::make_unique<SoundGraph>(std::move(output));
}

} // namespace ambrel
