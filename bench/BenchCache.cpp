// What 10,000 cached waveforms (110 MB) cost beside none or one: start, lookup, storing with its
// eviction off the main thread, and what the main thread's own writes wait for meanwhile.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <future>
#include <random>
#include <thread>
#include <vector>

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>

#include "platform/store/Preferences.h"
#include "waveform/WaveformCache.h"
#include "waveform/WaveformCacheEntry.h"

using namespace ambrel;
using namespace std::chrono_literals;

namespace {

constexpr int kRecords = 10'000;
constexpr std::int64_t kPeaks = 2'005; ///< of a usual recording

double milliseconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

/// Of each piece of work; they take turns, so that a busy machine is busy for all of them.
std::vector<double> medians(int turns, const std::vector<std::function<void()>>& works) {
    std::vector<std::vector<double>> times(works.size());
    for (int i = 0; i < turns; ++i)
        for (std::size_t work = 0; work < works.size(); ++work)
            times[work].push_back(milliseconds(works[work]));
    std::vector<double> found;
    for (auto& all : times) {
        std::ranges::nth_element(all, all.begin() + turns / 2);
        found.push_back(all[std::size_t(turns / 2)]);
    }
    return found;
}

std::vector<float> somePeaks() {
    static std::mt19937 random(1);
    std::vector<float> peaks(kPeaks);
    std::ranges::generate(peaks, [] { return float(random()) / float(random.max()); });
    return peaks;
}

/// A store with its cache, as the program has them.
struct Store {
    explicit Store(const std::filesystem::path& path) : preferences(path), cache(preferences) {}

    Preferences preferences;
    WaveformCache cache;
};

class Bench {
  public:
    int run() {
        fill("one", 1);
        fill("many", kRecords);
        start();
        lookup();
        storing();
        return 0;
    }

  private:
    std::filesystem::path pathOf(const char* name) const {
        return folder_.filePath(QLatin1String(name)).toStdString();
    }

    QUrl fileNumber(int number) const {
        const QString path = folder_.filePath(QStringLiteral("take %1.flac").arg(number));
        QFile file(path);
        if (!file.exists() && file.open(QFile::WriteOnly)) {
            file.write("a recording");
            file.flush(); // or it would have the date of its closing
            file.setFileTime(date_, QFile::FileModificationTime);
        }
        return QUrl::fromLocalFile(path);
    }

    void fill(const char* name, int count) const {
        Store store(pathOf(name));
        store.cache.setMaxTotalBytes({});
        store.cache.set(somePeaks(), fileNumber(0));
        const QString key = store.cache.entryKeys().constFirst();
        auto entry = *WaveformCacheEntry::decoded(*store.preferences.data(key));
        for (int number = 1; number < count; ++number) {
            const auto peaks = somePeaks();
            entry.samplesData = QByteArray(reinterpret_cast<const char*>(peaks.data()),
                                           qsizetype(peaks.size() * sizeof(float)));
            store.preferences.set(QStringLiteral("waveformCache.") + fileNumber(number).path(),
                                  *entry.encoded());
        }
    }

    void start() const {
        const auto times = medians(101, {[this] { Store store(pathOf("many")); },
                                         [this] { Store store(pathOf("empty")); }});
        std::printf("start            %8.2f ms, empty %.2f ms\n", times[0], times[1]);
    }

    void lookup() const {
        Store one(pathOf("one"));
        Store many(pathOf("many"));
        const QUrl file = fileNumber(0);
        std::mt19937 random(2);
        std::async(std::launch::async, [&] {
            const auto get = [&](Store& store, const QUrl& wanted) {
                if (!store.cache.get(wanted))
                    std::puts("a miss");
            };
            const auto times =
                medians(1001, {[&] { get(many, file); },
                               [&] { get(many, fileNumber(int(random() % kRecords))); },
                               [&] { get(one, file); }});
            std::printf("get              %8.3f ms, any file %.3f ms, of one record %.3f ms\n",
                        times[0], times[1], times[2]);
        }).get();
    }

    /// Runs `work` on another thread, while this one saves settings all the time.
    static void besideTheMainThread(const char* name, Store& store,
                                    const std::function<void()>& work) {
        auto time = std::async(std::launch::async, [&] { return milliseconds(work); });
        double longest = 0;
        int kept = 0;
        while (time.wait_for(1ms) != std::future_status::ready) {
            longest = std::max(longest, milliseconds([&] {
                                   store.preferences.set(QStringLiteral("settings./a"),
                                                         std::int64_t(++kept));
                               }));
        }
        std::printf("%-16s %8.1f ms, longest of %d writes on the main thread meanwhile %.1f ms\n",
                    name, time.get(), kept, longest);
    }

    void storing() const {
        Store store(pathOf("many"));
        store.cache.setMaxTotalBytes(kRecords * kPeaks * 4);
        int number = kRecords;
        for (const char* name : {"set, the first", "set", "set", "set"})
            besideTheMainThread(name, store,
                                [&] { store.cache.set(somePeaks(), fileNumber(number++)); });
        store.cache.setMaxTotalBytes(kRecords * kPeaks * 4 / 2);
        besideTheMainThread("set, half goes", store,
                            [&] { store.cache.set(somePeaks(), fileNumber(number++)); });
        std::printf("records left     %8lld\n",
                    static_cast<long long>(store.cache.entryKeys().size()));
    }

    const QDateTime date_ = QDateTime::currentDateTime();
    QTemporaryDir folder_;
};

} // namespace

int main() {
    return Bench().run();
}
