#pragma once

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <QUrl>

namespace ambrel {

/// The waveform could not be computed. what() is a sentence for the user.
class WaveformError : public std::runtime_error {
  public:
    enum class Case {
        unreadableFile, ///< the file cannot be opened
        noAudioTrack,   ///< the file has no audio track
        readFailed      ///< not even one bucket could be read
    };

    WaveformError(Case kind, const std::string& sentence)
        : std::runtime_error(sentence), which(kind) {}

    Case which;
};

/// Computes the peaks of a file: mixed to mono, about 2,000 consecutive buckets, each reduced to
/// its mean absolute amplitude, scaled so that the largest is exactly 1.
class WaveformGenerator {
  public:
    /// Called after each complete bucket, with the fraction done (0 to 1) and a message for the
    /// user: on any thread, by one at a time, and not after extract() has returned.
    using Progress = std::function<void(double fraction, const std::string& message)>;

    /// Reads the whole file, a long one with as many threads as there are processors. Blocks: call
    /// it on a background thread; any number of calls may run at once. Returns early, with what it
    /// has, once `ending` is true. Throws WaveformError, or AudioFileError as AudioFile::open.
    static std::vector<float> extract(const QUrl& url, const Progress& progress,
                                      const std::atomic<bool>& ending);
};

} // namespace ambrel
