#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <QByteArray>
#include <QStringList>
#include <QTemporaryDir>

namespace ambrel {
class AudioFile;
}

namespace ambrel::test {

/// Interleaved samples, full scale ±1.
struct Sound {
    int sampleRate = 44100;
    int channels = 2;
    std::vector<float> samples;

    std::size_t frames() const { return samples.size() / std::size_t(channels); }
};

/// Makes media files for a test in a folder that goes away with it. Encoding and the reference
/// decoding are done by the ffmpeg program, so that nothing of Ambrel checks itself.
///
/// Failures throw std::runtime_error with what ffmpeg said.
class MediaMaker {
  public:
    std::filesystem::path folder() const { return folder_.path().toStdString(); }
    std::filesystem::path path(const std::string& name) const { return folder() / name; }

    /// Plucked tones that differ in each channel, with noise and silences: no two places alike.
    static Sound phrase(double seconds, int sampleRate = 44100, int channels = 2);

    /// Writes the sound as a WAV of 32-bit floats.
    std::filesystem::path wav(const std::string& name, const Sound& sound) const;

    /// ffmpeg -i `source` `options`… `name`
    std::filesystem::path encode(const std::filesystem::path& source, const std::string& name,
                                 const QStringList& options = {}) const;

    /// Runs ffmpeg with just these arguments (and what keeps it quiet); returns its output.
    static QByteArray ffmpeg(const QStringList& arguments);

    /// The samples of the first audio track as the ffmpeg program decodes it from the start.
    static std::vector<float> decode(const std::filesystem::path& file);

    /// The samples of all frames, from the first to the last, through read().
    static std::vector<float> readAll(AudioFile& file);

    /// Writes bytes to a file as they are.
    std::filesystem::path write(const std::string& name, const QByteArray& bytes) const;

    static QByteArray bytesOf(const std::filesystem::path& file);

  private:
    QTemporaryDir folder_;
};

} // namespace ambrel::test
