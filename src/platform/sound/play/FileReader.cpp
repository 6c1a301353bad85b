#include "platform/sound/play/FileReader.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

#include "platform/sound/AudioFile.h"
#include "platform/sound/thread/SoundPriority.h"

namespace ambrel {

namespace {

constexpr float largestSample = 1000.0F;

void tame(float* samples, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        samples[i] =
            std::isfinite(samples[i]) ? std::clamp(samples[i], -largestSample, largestSample) : 0;
}

} // namespace

FileReader::FileReader(WakeUp& filled, bool paced)
    : filledWake_(filled), paced_(paced), mono_(FileBlock::frameCount), thread_([this] { run(); }) {
}

FileReader::~FileReader() {
    ending_ = true;
    wake_.signal();
    thread_.join();
}

void FileReader::open(std::shared_ptr<AudioFile> file, std::int64_t number) {
    {
        const std::scoped_lock lock(mutex_);
        std::swap(opened_, file); // the previous file is released outside the mutex
        openedNumber_ = number;
        isNew_ = true;
    }
    wake_.signal();
}

bool FileReader::ask(FileBlock& block) noexcept {
    if (onTheirWay_ == mostRequests)
        return false;
    ++onTheirWay_;
    asked_.push(&block);
    wake_.signal();
    return true;
}

FileBlock* FileReader::take() noexcept {
    FileBlock* block = nullptr;
    if (done_.pop(block))
        --onTheirWay_;
    return block;
}

void FileReader::run() {
    if (paced_)
        raiseSoundPriority(SoundUrgency::ahead);
    while (!ending_) {
        std::shared_ptr<AudioFile> former;
        {
            const std::scoped_lock lock(mutex_);
            if (std::exchange(isNew_, false)) {
                former = std::exchange(file_, std::move(opened_));
                number_ = openedNumber_;
                finder_.reset();
            }
        }
        FileBlock* block = nullptr;
        if (former) {
            // The previous file is closed before anything else is read.
        } else if (asked_.pop(block)) {
            serve(*block);
            done_.push(block);
            filledWake_.signal();
        } else {
            wake_.wait();
        }
    }
}

void FileReader::serve(FileBlock& block) {
    block.isFilled = file_ && block.file == number_ &&
                     block.order >= dropBefore_.load(std::memory_order_relaxed);
    if (!block.isFilled)
        return;
    if (block.wanted == FileBlock::Wanted::attacks) {
        findAttacks(block);
        return;
    }
    block.attacks.clear();
    if (finder_) { // it has decoded ahead, and will look at this block
        const FileBlock& recent = decoded(block.index);
        block.stereo = recent.stereo;
        block.isWhole = recent.isWhole;
    } else {
        fill(block);
    }
}

void FileReader::fill(FileBlock& block) {
    const std::int64_t first = block.index * FileBlock::frameCount;
    const auto wanted = static_cast<std::size_t>(
        std::clamp<std::int64_t>(file_->length() - first, 0, FileBlock::frameCount));
    const std::size_t got = wanted > 0 ? decode(first, block.stereo.data(), wanted) : 0;
    block.isWhole = got == wanted;
    tame(block.stereo.data(), 2 * got);
    std::fill(block.stereo.begin() + std::ptrdiff_t(2 * got), block.stereo.end(), 0.0F);
}

void FileReader::findAttacks(FileBlock& block) {
    if (!finder_) {
        finder_.emplace(file_->sampleRate());
        const std::int64_t frames = finder_->framesBefore() + finder_->framesAfter();
        recent_.assign(static_cast<std::size_t>(frames / FileBlock::frameCount) + 4, FileBlock());
        for (FileBlock& recent : recent_)
            recent.index = -1;
    }
    const std::int64_t first = block.index * FileBlock::frameCount;
    const std::int64_t begin = first - finder_->framesBefore();
    const std::int64_t end = first + FileBlock::frameCount + finder_->framesAfter();
    surroundings_.assign(static_cast<std::size_t>(2 * (end - begin)), 0.0F);
    bool isWhole = true;
    for (std::int64_t from = std::max<std::int64_t>(0, begin);
         from < std::min(end, file_->length());) {
        const std::int64_t index = from / FileBlock::frameCount;
        const std::int64_t to = std::min(end, (index + 1) * FileBlock::frameCount);
        const FileBlock& recent = decoded(index);
        isWhole = isWhole && recent.isWhole;
        std::copy_n(recent.stereo.data() + 2 * (from - index * FileBlock::frameCount),
                    2 * (to - from), surroundings_.data() + 2 * (from - begin));
        from = to;
    }
    block.attacks.clear();
    for (Attack& attack :
         finder_->find(surroundings_, first, FileBlock::frameCount, file_->length()))
        block.attacks.push_back(std::make_shared<const Attack>(std::move(attack)));
    if (!isWhole) // it keeps what it has worked out, and the file may be read the next time
        finder_.emplace(file_->sampleRate());
}

const FileBlock& FileReader::decoded(std::int64_t index) {
    FileBlock& recent = recent_[static_cast<std::size_t>(index) % recent_.size()];
    if (recent.index != index || !recent.isWhole) {
        recent.index = index;
        fill(recent);
    }
    return recent;
}

std::size_t FileReader::decode(std::int64_t first, float* stereo, std::size_t frames) {
    if (file_->samplesPerFrame() == 2)
        return file_->read(first, std::span(stereo, 2 * frames));
    const std::size_t got = file_->read(first, std::span(mono_).first(frames));
    for (std::size_t i = 0; i < got; ++i)
        stereo[2 * i] = stereo[2 * i + 1] = mono_[i];
    return got;
}

} // namespace ambrel
