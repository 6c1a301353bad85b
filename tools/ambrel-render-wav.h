#pragma once

#include <cstdint>
#include <span>

#include <QFile>
#include <QString>

namespace ambrel {

/// Writes a WAV file of 32-bit floats, interleaved stereo. Throws std::runtime_error with one
/// sentence when the file cannot be written or would pass the 4 GiB that the format can count.
class WavWriter {
  public:
    WavWriter(const QString& path, int sampleRateHz);

    void write(std::span<const float> stereo);

    /// Enters the length and closes. Without it the file says it is empty.
    void finish();

    std::int64_t frames() const noexcept { return frames_; }

  private:
    void writeHeader();
    [[noreturn]] void fail(const QString& reason) const;

    QFile file_;
    int sampleRateHz_;
    std::int64_t frames_ = 0;
};

} // namespace ambrel
