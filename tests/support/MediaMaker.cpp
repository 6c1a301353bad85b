#include "support/MediaMaker.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <numbers>
#include <random>
#include <stdexcept>

#include <QDataStream>
#include <QProcess>

#include "platform/sound/AudioFile.h"

namespace ambrel::test {
namespace {

QString argument(const std::filesystem::path& path) {
    // A name with a colon in it is no protocol.
    return u"file:"_qs + QString::fromStdString(path.string());
}

} // namespace

Sound MediaMaker::phrase(double seconds, int sampleRate, int channels) {
    Sound sound{sampleRate, channels, {}};
    const auto frames = static_cast<std::size_t>(std::llround(seconds * sampleRate));
    sound.samples.resize(frames * static_cast<std::size_t>(channels));
    std::mt19937 random(20240229); // the same file in every run
    std::uniform_real_distribution<float> noise(-0.002F, 0.002F);
    const double noteSeconds = 0.23;
    for (std::size_t at = 0; at < sound.samples.size(); ++at) {
        const auto channel = int(at % std::size_t(channels));
        const double time = double(at / std::size_t(channels)) / sampleRate;
        const auto note = int(time / noteSeconds);
        const double since = time - note * noteSeconds;
        const double hertz = 110.0 * std::pow(2.0, (note * 7 + channel * 5) % 31 / 12.0);
        const double level = note % 9 == 8 ? 0.0 : 0.4 * std::exp(-6.0 * since);
        const double pluck = level * std::sin(2.0 * std::numbers::pi * hertz * since);
        sound.samples[at] = float(pluck) + noise(random);
    }
    return sound;
}

std::filesystem::path MediaMaker::wav(const std::string& name, const Sound& sound) const {
    const auto dataBytes = quint32(sound.samples.size() * sizeof(float));
    const auto channels = quint16(sound.channels);
    const auto rate = quint32(sound.sampleRate);
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    out.writeRawData("RIFF", 4);
    out << 36 + dataBytes;
    out.writeRawData("WAVEfmt ", 8);
    out << quint32{16} << quint16{3} << channels << rate << rate * channels * 4
        << quint16(channels * 4) << quint16{32};
    out.writeRawData("data", 4);
    out << dataBytes;
    out.writeRawData(reinterpret_cast<const char*>(sound.samples.data()), int(dataBytes));
    return write(name, bytes);
}

std::filesystem::path MediaMaker::encode(const std::filesystem::path& source,
                                         const std::string& name,
                                         const QStringList& options) const {
    const std::filesystem::path target = path(name);
    ffmpeg(QStringList{u"-i"_qs, argument(source)} + options + QStringList{argument(target)});
    return target;
}

QByteArray MediaMaker::ffmpeg(const QStringList& arguments) {
    QProcess process;
    process.start(u"ffmpeg"_qs,
                  u"-nostdin -hide_banner -loglevel error -y"_qs.split(u' ') + arguments);
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0)
        throw std::runtime_error(
            ("ffmpeg " + arguments.join(u' ').toUtf8() + ": " + process.readAllStandardError())
                .toStdString());
    return process.readAllStandardOutput();
}

std::vector<float> MediaMaker::decode(const std::filesystem::path& file) {
    const QByteArray bytes =
        ffmpeg(QStringList{u"-i"_qs, argument(file)} + u"-map 0:a:0 -f f32le -"_qs.split(u' '));
    std::vector<float> samples(std::size_t(bytes.size()) / sizeof(float));
    std::memcpy(samples.data(), bytes.constData(), samples.size() * sizeof(float));
    return samples;
}

std::vector<float> MediaMaker::readAll(AudioFile& file) {
    const auto samples = std::size_t(file.samplesPerFrame());
    std::vector<float> all, some(10007 * samples);
    while (const std::size_t got = file.read(std::int64_t(all.size() / samples), some))
        all.insert(all.end(), some.begin(), some.begin() + std::ptrdiff_t(got * samples));
    return all;
}

std::filesystem::path MediaMaker::write(const std::string& name, const QByteArray& bytes) const {
    std::ofstream out(path(name), std::ios::binary);
    out.write(bytes.constData(), bytes.size());
    if (!out.flush())
        throw std::runtime_error("cannot write " + path(name).string());
    return path(name);
}

QByteArray MediaMaker::bytesOf(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return QByteArray::fromStdString({std::istreambuf_iterator<char>(in), {}});
}

} // namespace ambrel::test
