#include "waveform/WaveformGenerator.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <future>
#include <mutex>
#include <system_error>
#include <thread>

#include "audio/LocalPath.h"
#include "platform/sound/AudioFile.h"

namespace ambrel {
namespace {

/// The rate that the bucket size is reckoned with, whatever the file's is: a file at another rate
/// gets more or fewer buckets.
constexpr double nominalSampleRate = 44100.0;

/// How many buckets a file at the nominal rate is cut into, but for its remainder.
constexpr std::int64_t nominalBuckets = 2000;

/// Frames read at a time: enough to make calls cheap, few enough to stay in the cache.
constexpr std::int64_t framesPerRead = 16384;

std::int64_t framesPerBucket(const AudioFile& file) {
    const double seconds = static_cast<double>(file.length()) / file.sampleRate();
    const double total = seconds * nominalSampleRate;
    // Far above any length that is opened, far below what the conversion cannot hold.
    constexpr double most = 9.0e18;
    const auto whole = static_cast<std::int64_t>(std::min(total, most));
    return std::max<std::int64_t>(1, whole / nominalBuckets);
}

/// A file reduced to buckets by several threads, each with an AudioFile of its own. The file is cut
/// into parts of whole buckets, so every value is the one that a single pass gives.
class Reduction {
  public:
    Reduction(const AudioFile& file, const WaveformGenerator::Progress& progress,
              const std::atomic<bool>& ending)
        : rate_(file.sampleRate()), length_(file.length()), bucket_(framesPerBucket(file)),
          partLength_(bucketsPerPart(file) * bucket_),
          parts_(static_cast<std::size_t>((length_ - 1) / partLength_ + 1)), progress_(progress),
          ending_(ending) {}

    std::size_t parts() const { return parts_.size(); }

    /// Reduces parts until none is left. Any number of threads, each with another `file`.
    void work(AudioFile& file) {
        // It may have been overwritten since the first was opened.
        if (file.sampleRate() != rate_ || file.length() != length_) {
            return;
        }
        std::vector<float> frames(static_cast<std::size_t>(framesPerRead));
        for (std::size_t part; (part = next_++) < parts_.size() && !ending_;) {
            const auto start = static_cast<std::int64_t>(part) * partLength_;
            parts_[part].isWhole = reduce(file, start, std::min(start + partLength_, length_),
                                          frames, parts_[part].means);
        }
    }

    bool isWhole() const {
        return std::all_of(parts_.begin(), parts_.end(),
                           [](const Part& part) { return part.isWhole; });
    }

    /// For the only thread that is left.
    void beginAgainInOnePart() {
        partLength_ = length_;
        parts_.assign(1, {});
        next_ = 0;
    }

    /// As far as all frames have been read.
    std::vector<float> means() const {
        std::vector<float> all;
        all.reserve(nominalBuckets);
        for (const Part& part : parts_) {
            all.insert(all.end(), part.means.begin(), part.means.end());
            if (!part.isWhole) {
                break;
            }
        }
        return all;
    }

  private:
    struct Part {
        std::vector<float> means;
        bool isWhole = false;
    };

    /// A part takes about a minute, to which the decoding before it, up to one second, adds little.
    static std::int64_t bucketsPerPart(const AudioFile& file) {
        constexpr std::int64_t seconds = 60;
        return std::max<std::int64_t>(1, seconds * file.sampleRate() / framesPerBucket(file));
    }

    /// Reduces the frames to means, the last one perhaps of a partial bucket. Stops where the file
    /// stops decoding, and after the read during which `ending_` became true: a bucket of a long
    /// file takes many reads. Returns whether all frames were read.
    bool reduce(AudioFile& file, std::int64_t at, std::int64_t end, std::vector<float>& frames,
                std::vector<float>& means) {
        float sum = 0.0F;
        std::int64_t count = 0;
        const auto take = [&](const float* samples, std::int64_t left) { // null: silence
            while (left > 0) {
                const std::int64_t some = std::min(left, bucket_ - count);
                if (samples != nullptr) {
                    for (const float* const stop = samples + some; samples < stop; ++samples) {
                        sum += std::fabs(*samples);
                    }
                }
                left -= some;
                count += some;
                if (count == bucket_) {
                    means.push_back(sum / static_cast<float>(count));
                    report();
                    sum = 0.0F;
                    count = 0;
                }
            }
        };
        while (at < end && !ending_) {
            const std::int64_t sound = std::min(file.afterGap(at), end);
            take(nullptr, sound - at);
            at = sound;
            const auto wanted = static_cast<std::size_t>(std::min(framesPerRead, end - at));
            const std::size_t got = file.read(at, std::span(frames.data(), wanted));
            take(frames.data(), static_cast<std::int64_t>(got));
            at += static_cast<std::int64_t>(got);
            if (got < wanted) {
                break;
            }
        }
        if (count > 0) {
            means.push_back(sum / static_cast<float>(count));
        }
        return at == end;
    }

    void report() {
        const std::scoped_lock lock(mutex_);
        const double done = static_cast<double>(++done_) / static_cast<double>(nominalBuckets);
        const double fraction = std::min(done, 1.0);
        const int percent = static_cast<int>(fraction * 100.0);
        progress_(fraction, "Generating waveform... " + std::to_string(percent) + "%");
    }

    const int rate_;
    const std::int64_t length_;
    const std::int64_t bucket_; ///< frames
    std::int64_t partLength_;   ///< frames
    std::vector<Part> parts_;   ///< each written by the thread that took it
    std::atomic<std::size_t> next_ = 0;
    std::mutex mutex_;      ///< guards done_, and lets one thread at a time report
    std::int64_t done_ = 0; ///< full buckets
    const WaveformGenerator::Progress& progress_;
    const std::atomic<bool>& ending_;
};

std::shared_ptr<AudioFile> openMono(const QUrl& url) {
    using Reason = AudioFileError::Reason;
    try {
        return AudioFile::open(localPath(url), AudioFile::Layout::mono);
    } catch (const AudioFileError& error) {
        switch (error.reason) {
        case Reason::noAudio:
            throw WaveformError(WaveformError::Case::noAudioTrack, error.what());
        case Reason::unreadable:
            throw WaveformError(WaveformError::Case::unreadableFile, error.what());
        default:
            throw;
        }
    }
}

/// Returns when no thread works any more.
void reduceInParallel(Reduction& reduction, AudioFile& file, const QUrl& url) {
    const auto work = [&] {
        std::shared_ptr<AudioFile> another;
        try {
            another = openMono(url);
        } catch (const std::exception&) {
            return; // the other threads do its share
        }
        reduction.work(*another);
    };
    std::vector<std::future<void>> others;
    const auto threads =
        std::min<std::size_t>(std::thread::hardware_concurrency(), reduction.parts());
    try {
        while (others.size() + 1 < threads) {
            others.push_back(std::async(std::launch::async, work));
        }
    } catch (const std::system_error&) {
        // no more threads than these
    }
    reduction.work(file);
    for (std::future<void>& other : others) {
        other.get();
    }
}

void normalise(std::vector<float>& peaks) {
    const float largest = *std::max_element(peaks.begin(), peaks.end());
    if (largest > 0.0F) {
        for (float& peak : peaks) {
            peak /= largest;
        }
    }
}

} // namespace

std::vector<float> WaveformGenerator::extract(const QUrl& url, const Progress& progress,
                                              const std::atomic<bool>& ending) {
    const std::shared_ptr<AudioFile> file = openMono(url);
    Reduction reduction(*file, progress, ending);
    reduceInParallel(reduction, *file, url);
    if (!reduction.isWhole() && !ending) {
        reduction.beginAgainInOnePart(); // a file may be read through that cannot be sought in
        reduction.work(*file);
    }
    std::vector<float> peaks = reduction.means();
    if (peaks.empty()) {
        const std::string name = url.fileName().toStdString();
        throw WaveformError(WaveformError::Case::readFailed,
                            "The waveform of “" + name + "” could not be read.");
    }
    normalise(peaks);
    return peaks;
}

} // namespace ambrel
