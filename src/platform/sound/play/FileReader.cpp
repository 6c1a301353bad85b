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
            }
        }
        FileBlock* block = nullptr;
        if (former) {
            // The previous file is closed before anything else is read.
        } else if (asked_.pop(block)) {
            fill(*block);
            done_.push(block);
            filledWake_.signal();
        } else {
            wake_.wait();
        }
    }
}

void FileReader::fill(FileBlock& block) {
    block.isFilled = file_ && block.file == number_ &&
                     block.order >= dropBefore_.load(std::memory_order_relaxed);
    if (!block.isFilled)
        return;
    const std::int64_t first = block.index * FileBlock::frameCount;
    const auto wanted = static_cast<std::size_t>(
        std::clamp<std::int64_t>(file_->length() - first, 0, FileBlock::frameCount));
    const std::size_t got = wanted > 0 ? decode(first, block.stereo.data(), wanted) : 0;
    block.isWhole = got == wanted;
    tame(block.stereo.data(), 2 * got);
    std::fill(block.stereo.begin() + std::ptrdiff_t(2 * got), block.stereo.end(), 0.0F);
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
