#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace ambrel {

/// A file that cannot be opened as audio. what() is one sentence for the user, in UTF-8, naming the
/// file and the reason: “take3.mp3” could not be opened: no audio stream was found.
class AudioFileError : public std::runtime_error {
  public:
    enum class Reason { missing, notAFile, noPermission, empty, unreadable, noAudio };

    AudioFileError(Reason why, const std::string& sentence)
        : std::runtime_error(sentence), reason(why) {}

    Reason reason;
};

/// The first audio track of a file, decoded by FFmpeg's libraries and read by frame number.
///
/// Frame 0 is the first frame meant to be heard (encoder delay removed), and length() counts up to
/// the last (padding removed). A range reads as the same samples whatever was read before it. A
/// part that cannot be decoded reads as silence where its position is known. If the sample rate or
/// the channels change midway, the rest is converted to those at the start.
///
/// Samples are as decoded, beyond ±1 where the file is that loud; NaN and infinity read as 0. The
/// file stays open for the lifetime of this object: it can still be read after it was renamed or
/// deleted; if it is truncated or overwritten, reads return what is there now.
///
/// Threads: open() and read() may block on the disk; do not call them on the main thread. Only one
/// thread at a time may read. path(), sampleRate(), channels() and length() never change and may be
/// called from any thread.
class AudioFile {
  public:
    /// The samples of a delivered frame.
    enum class Layout {
        stereo, ///< left and right. Mono goes to both; more channels are mixed down, with weights
                ///< that keep full scale in all of them within full scale. Channels of unknown
                ///< position go to both sides; the low-frequency channel is left out
        mono    ///< one sample: the mean of all channels of the track
    };

    /// Opens the first audio track of a regular file. `path` is absolute.
    /// Throws AudioFileError; never hangs on a FIFO or a device.
    static std::shared_ptr<AudioFile> open(const std::filesystem::path& path,
                                           Layout layout = Layout::stereo);

    virtual ~AudioFile() = default;

    virtual const std::filesystem::path& path() const noexcept = 0;

    /// Frames per second of the track, above 0.
    virtual int sampleRate() const noexcept = 0;

    /// Channels of the track before mixing, above 0.
    virtual int channels() const noexcept = 0;

    /// Frames in the track; exact, not estimated from the bit rate.
    virtual std::int64_t length() const noexcept = 0;

    /// Samples in a delivered frame: 2 (stereo) or 1 (mono).
    virtual int samplesPerFrame() const noexcept = 0;

    /// Fills `out` (interleaved, full scale ±1) with frames from `first` on. Returns the number of
    /// frames written, which is less than asked for only where the file ends or decoding stops.
    /// Never throws.
    virtual std::size_t read(std::int64_t first, std::span<float> out) noexcept = 0;

    /// The first frame from `first` on that is not in a gap, where the track has nothing and reads
    /// as silence; at most length(). A gap may be hours in a few bytes, so what works through a
    /// whole file goes around it. Work and threads as read().
    virtual std::int64_t afterGap(std::int64_t first) noexcept { return first; }
};

} // namespace ambrel
