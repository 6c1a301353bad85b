#include "platform/sound/play/FrameCache.h"

#include <algorithm>

namespace ambrel {

FrameCache::FrameCache(FileReader& reader)
    : reader_(reader), blocks_(std::make_unique_for_overwrite<FileBlock[]>(sets * ways)) {}

void FrameCache::begin(std::int64_t number, std::int64_t length) noexcept {
    file_ = number;
    length_ = length;
    reader_.dropBefore(asked_);
    forgetBroken();
}

void FrameCache::update() noexcept {
    while (const FileBlock* block = reader_.take()) {
        const auto at = static_cast<std::size_t>(block - blocks_.get());
        Slot& slot = slots_[at / ways][at % ways];
        if (block->wanted == FileBlock::Wanted::attacks) {
            --searches_;
            slot.search = block->isFilled ? Slot::Search::done : Slot::Search::none;
            continue;
        }
        slot.state = block->isFilled ? Slot::State::filled : Slot::State::empty;
        slot.isWhole = block->isWhole;
    }
    ++round_;
    isMissing_ = false;
}

void FrameCache::want(std::int64_t first, std::int64_t frames, bool attacks) noexcept {
    const std::int64_t begin = std::clamp<std::int64_t>(first, 0, length_);
    const std::int64_t end = std::clamp<std::int64_t>(first + frames, begin, length_);
    for (std::int64_t index = begin / FileBlock::frameCount; index * FileBlock::frameCount < end;
         ++index) {
        Slot* slot = const_cast<Slot*>(find(index));
        if (slot)
            slot->wantedIn = round_;
        else
            ask(index);
        const bool isFilled = slot && slot->state == Slot::State::filled;
        if (isFilled && attacks && slot->search == Slot::Search::none)
            askForAttacks(*slot);
        isMissing_ = isMissing_ || !isFilled || (attacks && slot->search != Slot::Search::done);
    }
}

/// Replaces the least recently wanted block of its set, unless all are wanted now.
void FrameCache::ask(std::int64_t index) noexcept {
    const std::size_t set = static_cast<std::size_t>(index) % sets;
    Slot* oldest = nullptr;
    for (Slot& slot : slots_[set]) {
        if (slot.state != Slot::State::asked && slot.search != Slot::Search::asked &&
            slot.wantedIn < round_ && (!oldest || slot.wantedIn < oldest->wantedIn))
            oldest = &slot;
    }
    if (!oldest)
        return;
    FileBlock& block = blocks_[set * ways + static_cast<std::size_t>(oldest - slots_[set].data())];
    block.file = file_;
    block.index = index;
    block.order = asked_;
    block.wanted = FileBlock::Wanted::frames;
    if (!reader_.ask(block))
        return;
    ++asked_;
    *oldest = {Slot::State::asked, Slot::Search::none, file_, index, round_, false};
}

void FrameCache::askForAttacks(Slot& slot) noexcept {
    if (searches_ == mostSearches)
        return;
    FileBlock& block = blocks_[static_cast<std::size_t>(&slot - slots_.front().data())];
    block.order = asked_;
    block.wanted = FileBlock::Wanted::attacks;
    if (!reader_.ask(block))
        return;
    ++asked_;
    ++searches_;
    slot.search = Slot::Search::asked;
}

const FrameCache::Slot* FrameCache::find(std::int64_t index) const noexcept {
    for (const Slot& slot : slots_[static_cast<std::size_t>(index) % sets]) {
        if (slot.state != Slot::State::empty && slot.index == index && slot.file == file_)
            return &slot;
    }
    return nullptr;
}

const FileBlock& FrameCache::blockOf(const Slot& slot) const noexcept {
    return blocks_[static_cast<std::size_t>(&slot - slots_.front().data())];
}

bool FrameCache::has(std::int64_t first, std::int64_t frames) const noexcept {
    const std::int64_t begin = std::clamp<std::int64_t>(first, 0, length_);
    const std::int64_t end = std::clamp<std::int64_t>(first + frames, begin, length_);
    for (std::int64_t index = begin / FileBlock::frameCount; index * FileBlock::frameCount < end;
         ++index) {
        const Slot* slot = find(index);
        if (!slot || slot->state != Slot::State::filled)
            return false;
    }
    return true;
}

std::size_t FrameCache::read(std::int64_t first, float* stereo, std::size_t frames) const noexcept {
    std::size_t done = 0;
    while (done < frames) {
        const std::int64_t at = first + static_cast<std::int64_t>(done);
        auto count = static_cast<std::int64_t>(frames - done);
        if (at < 0 || at >= length_) {
            count = at < 0 ? std::min(count, -at) : count;
            std::fill_n(stereo + 2 * done, 2 * count, 0.0F);
        } else {
            const Slot* slot = find(at / FileBlock::frameCount);
            if (!slot || slot->state != Slot::State::filled)
                break;
            count =
                std::min({count, FileBlock::frameCount - at % FileBlock::frameCount, length_ - at});
            std::copy_n(blockOf(*slot).stereo.data() + 2 * (at % FileBlock::frameCount), 2 * count,
                        stereo + 2 * done);
        }
        done += static_cast<std::size_t>(count);
    }
    return done;
}

void FrameCache::forgetBroken() noexcept {
    for (Set& set : slots_) {
        for (Slot& slot : set) {
            if (slot.state == Slot::State::filled && slot.search != Slot::Search::asked &&
                !slot.isWhole)
                slot.state = Slot::State::empty;
        }
    }
}

} // namespace ambrel
