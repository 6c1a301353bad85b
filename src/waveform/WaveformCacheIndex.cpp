#include "waveform/WaveformCacheIndex.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <QHash>

namespace ambrel {

void WaveformCacheIndex::beginSnapshot() {
    ++snapshot_;
    nextPlace_ = 0;
}

void WaveformCacheIndex::note(const QString& key, QByteArrayView json) {
    Record& record = records_[key];
    const std::uint64_t hash = qHashBits(json.data(), std::size_t(json.size()));
    const bool isKnown =
        record.snapshot != 0 && record.hash == hash && record.length == json.size();
    record.snapshot = snapshot_;
    record.place = nextPlace_++;
    if (isKnown)
        return;
    record.hash = hash;
    record.length = json.size();
    record.use = WaveformCacheEntry::decodedUse(QByteArray::fromRawData(json.data(), json.size()));
}

void WaveformCacheIndex::endSnapshot() {
    std::erase_if(records_, [&](const auto& item) { return item.second.snapshot != snapshot_; });
}

QStringList WaveformCacheIndex::takeOlderThan(double cutoff) {
    QStringList taken;
    std::erase_if(records_, [&](const auto& item) {
        const bool isOld = item.second.use && item.second.use->lastAccessed < cutoff;
        if (isOld)
            taken << item.first;
        return isOld;
    });
    return taken;
}

QStringList WaveformCacheIndex::takeBeyond(std::int64_t bytes) {
    std::vector<decltype(records_)::iterator> oldestFirst;
    std::int64_t total = 0;
    for (auto at = records_.begin(); at != records_.end(); ++at) {
        if (at->second.use) {
            oldestFirst.push_back(at);
            total += at->second.use->sampleBytes;
        }
    }
    QStringList taken;
    if (total <= bytes)
        return taken;
    std::ranges::sort(oldestFirst, {}, [](auto at) {
        return std::pair(at->second.use->lastAccessed, at->second.place);
    });
    for (const auto at : oldestFirst) {
        if (total <= bytes)
            break;
        total -= at->second.use->sampleBytes;
        taken << at->first;
        records_.erase(at);
    }
    return taken;
}

} // namespace ambrel
