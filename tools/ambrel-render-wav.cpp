#include "ambrel-render-wav.h"

#include <bit>
#include <stdexcept>

#include <QDataStream>

namespace ambrel {

namespace {
constexpr quint16 channels = 2;
constexpr quint32 bytesPerFrame = channels * sizeof(float);
constexpr quint32 formatBytes = 18; ///< of the “fmt ” chunk, with its empty extension
constexpr quint32 factBytes = 4;
/// Everything behind the RIFF chunk's own size but the samples.
constexpr quint32 overheadBytes = 4 + 8 + formatBytes + 8 + factBytes + 8;
constexpr quint16 formatFloat = 3;
constexpr std::int64_t mostFrames = (UINT32_MAX - overheadBytes) / bytesPerFrame;
static_assert(std::endian::native == std::endian::little, "samples are written as they lie");
} // namespace

WavWriter::WavWriter(const QString& path, int sampleRateHz)
    : file_(path), sampleRateHz_(sampleRateHz) {
    if (!file_.open(QIODevice::WriteOnly | QIODevice::Truncate))
        fail(file_.errorString());
    writeHeader();
}

void WavWriter::fail(const QString& reason) const {
    throw std::runtime_error(QStringLiteral("“%1” could not be written: %2.")
                                 .arg(file_.fileName(), reason)
                                 .toStdString());
}

void WavWriter::writeHeader() {
    const auto dataBytes = static_cast<quint32>(frames_ * bytesPerFrame);
    QDataStream out(&file_);
    out.setByteOrder(QDataStream::LittleEndian);
    out.writeRawData("RIFF", 4);
    out << overheadBytes + dataBytes;
    out.writeRawData("WAVEfmt ", 8);
    out << formatBytes << formatFloat << channels << static_cast<quint32>(sampleRateHz_)
        << static_cast<quint32>(sampleRateHz_) * bytesPerFrame
        << static_cast<quint16>(bytesPerFrame) << static_cast<quint16>(8 * sizeof(float))
        << quint16(0);
    out.writeRawData("fact", 4);
    out << factBytes << static_cast<quint32>(frames_);
    out.writeRawData("data", 4);
    out << dataBytes;
    if (out.status() != QDataStream::Ok)
        fail(file_.errorString());
}

void WavWriter::write(std::span<const float> stereo) {
    frames_ += static_cast<std::int64_t>(stereo.size() / channels);
    if (frames_ > mostFrames)
        fail(QStringLiteral("a WAV file holds at most 4 GiB"));
    const auto bytes = static_cast<qint64>(stereo.size_bytes());
    if (file_.write(reinterpret_cast<const char*>(stereo.data()), bytes) != bytes)
        fail(file_.errorString());
}

void WavWriter::finish() {
    if (!file_.seek(0))
        fail(file_.errorString());
    writeHeader();
    if (!file_.flush())
        fail(file_.errorString());
    file_.close();
}

} // namespace ambrel
