#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace ambrel {

/// A file that cannot be opened for its sound. what() is one sentence for the user, in UTF-8, which
/// names the file and the reason: “take3.mp3” could not be opened: no audio stream was found.
class AudioFileError : public std::runtime_error {
  public:
    enum class Reason { missing, notAFile, noPermission, empty, unreadable, noAudio };

    AudioFileError(Reason why, const std::string& sentence)
        : std::runtime_error(sentence), reason(why) {}

    Reason reason;
};

/// The first audio track of a file, decoded by FFmpeg's libraries, read by frame.
///
/// A frame is one sample of every channel; frame 0 is the first frame meant to be heard (encoder
/// delay removed) and length() counts to the last (padding removed). Reading a range gives the same
/// samples whatever was read before it. A block in the middle that does not decode reads as silence
/// where its place is known. A change of rate or channels midway is converted to what the track
/// began with.
///
/// Samples come as they were decoded, above ±1 where the file is that loud; what is no number reads
/// as 0. The file stays open while this lives: renamed or removed, it reads on; cut short or
/// overwritten, it reads what is there.
///
/// Threads: open() and read() may block on the disk and belong off the main thread. One thread at a
/// time may read; sampleRate(), length() and path() are settled by open() and may be read from any.
class AudioFile {
  public:
    /// What a frame is delivered as.
    enum class Layout {
        stereo, ///< two samples, left and right: mono on both; any number of channels mixed down,
                ///< weighted so that full scale in every channel stays within full scale. Those
                ///< without a known place go to both sides; of surround sound, the one for the
                ///< lowest frequencies is left out
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

    /// Channels of the track before they are mixed, above 0.
    virtual int channels() const noexcept = 0;

    /// Frames in the track, exact: no estimate from a bit rate.
    virtual std::int64_t length() const noexcept = 0;

    /// Samples in a delivered frame: 2 (stereo) or 1 (mono).
    virtual int samplesPerFrame() const noexcept = 0;

    /// Fills `out` (interleaved, full scale ±1) with the frames from `first` on. Returns the frames
    /// written: fewer than asked for only where the file ends or stops decoding. Never throws.
    virtual std::size_t read(std::int64_t first, std::span<float> out) noexcept = 0;
};

} // namespace ambrel
