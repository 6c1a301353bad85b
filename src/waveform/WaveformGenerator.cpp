#include "waveform/WaveformGenerator.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

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

/// What becomes of a bucket's mean.
using BucketHandler = std::function<void(float mean, bool full)>;

/// Reduces the file to buckets of `size` frames, the last one perhaps partial. Stops where the file
/// stops decoding, and after the read during which `ending` became true: a bucket of a long file
/// takes many reads.
void reduce(AudioFile& file, std::int64_t size, const std::atomic<bool>& ending,
            const BucketHandler& handle) {
    std::vector<float> frames(static_cast<std::size_t>(framesPerRead));
    float sum = 0.0F;
    std::int64_t count = 0;
    for (std::int64_t at = 0; at < file.length();) {
        const auto wanted = static_cast<std::size_t>(std::min(framesPerRead, file.length() - at));
        const std::size_t got = file.read(at, std::span(frames.data(), wanted));
        const float* next = frames.data();
        const float* const last = next + got;
        while (next < last) {
            const float* const stop = next + std::min<std::int64_t>(last - next, size - count);
            count += stop - next;
            for (; next < stop; ++next) {
                sum += std::fabs(*next);
            }
            if (count == size) {
                handle(sum / static_cast<float>(count), true);
                sum = 0.0F;
                count = 0;
            }
        }
        at += static_cast<std::int64_t>(got);
        if (got < wanted || ending) {
            break;
        }
    }
    if (count > 0) {
        handle(sum / static_cast<float>(count), false);
    }
}

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
    std::vector<float> peaks;
    peaks.reserve(nominalBuckets);
    reduce(*file, framesPerBucket(*file), ending, [&](float mean, bool full) {
        peaks.push_back(mean);
        if (full) {
            const double done =
                static_cast<double>(peaks.size()) / static_cast<double>(nominalBuckets);
            const double fraction = std::min(done, 1.0);
            const int percent = static_cast<int>(fraction * 100.0);
            progress(fraction, "Generating waveform... " + std::to_string(percent) + "%");
        }
    });
    if (peaks.empty()) {
        const std::string name = url.fileName().toStdString();
        throw WaveformError(WaveformError::Case::readFailed,
                            "The waveform of “" + name + "” could not be read.");
    }
    normalise(peaks);
    return peaks;
}

} // namespace ambrel
