#pragma once

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <QUrl>

namespace ambrel {

/// A waveform that could not be made. what() is a sentence for the user.
class WaveformError : public std::runtime_error {
  public:
    enum class Case {
        unreadableFile, ///< no reader could be made for the file
        noAudioTrack,   ///< the file has no audio track
        readFailed      ///< not a single bucket could be read
    };

    WaveformError(Case kind, const std::string& sentence)
        : std::runtime_error(sentence), which(kind) {}

    Case which;
};

/// Turns a file into its peaks: the frames, mixed to mono, in about 2,000 consecutive buckets, each
/// reduced to its mean absolute amplitude, scaled so that the largest is exactly 1.
class WaveformGenerator {
  public:
    /// Called on the generating thread after each full bucket: the fraction done (0 to 1) and the
    /// message for the user.
    using Progress = std::function<void(double fraction, const std::string& message)>;

    /// Reads the whole file, block by block. Blocks; belongs on a background thread. Any number of
    /// calls may run at once. Returns early, with what it has, once `ending` is true.
    /// Throws WaveformError, or AudioFileError as AudioFile::open gives it.
    static std::vector<float> extract(const QUrl& url, const Progress& progress,
                                      const std::atomic<bool>& ending);
};

} // namespace ambrel
