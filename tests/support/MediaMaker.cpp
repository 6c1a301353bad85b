#include "support/MediaMaker.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <numbers>
#include <random>
#include <stdexcept>

#include <QProcess>

namespace ambrel::test {
namespace {

QString argument(const std::filesystem::path& path) {
    // A name with a colon in it is no protocol.
    return QStringLiteral("file:") + QString::fromStdString(path.string());
}

void append(QByteArray& out, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out.append(static_cast<char>((value >> (8 * i)) & 0xff));
    }
}

QByteArray wavHeader(const Sound& sound) {
    const auto dataBytes = static_cast<std::uint32_t>(sound.samples.size() * sizeof(float));
    const auto channels = static_cast<std::uint32_t>(sound.channels);
    const auto rate = static_cast<std::uint32_t>(sound.sampleRate);
    QByteArray header("RIFF");
    append(header, 36 + dataBytes, 4);
    header.append("WAVEfmt ");
    append(header, 16, 4);
    append(header, 3, 2); // floats
    append(header, channels, 2);
    append(header, rate, 4);
    append(header, rate * channels * 4, 4);
    append(header, channels * 4, 2);
    append(header, 32, 2);
    header.append("data");
    append(header, dataBytes, 4);
    return header;
}

} // namespace

Sound MediaMaker::phrase(double seconds, int sampleRate, int channels) {
    Sound sound{sampleRate, channels, {}};
    const auto frames = static_cast<std::size_t>(std::llround(seconds * sampleRate));
    sound.samples.resize(frames * static_cast<std::size_t>(channels));
    std::mt19937 random(20240229); // the same file in every run
    std::uniform_real_distribution<float> noise(-0.002F, 0.002F);
    const double noteSeconds = 0.23;
    std::size_t at = 0;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const double time = static_cast<double>(frame) / sampleRate;
        const auto note = static_cast<int>(time / noteSeconds);
        const double since = time - note * noteSeconds;
        for (int channel = 0; channel < channels; ++channel) {
            const int key = (note * 7 + channel * 5) % 31;
            const double hertz = 110.0 * std::pow(2.0, key / 12.0);
            const double level = note % 9 == 8 ? 0.0 : 0.4 * std::exp(-6.0 * since);
            const double pluck = level * std::sin(2.0 * std::numbers::pi * hertz * since);
            sound.samples[at++] = static_cast<float>(pluck) + noise(random);
        }
    }
    return sound;
}

std::filesystem::path MediaMaker::wav(const std::string& name, const Sound& sound) const {
    QByteArray bytes = wavHeader(sound);
    bytes.append(reinterpret_cast<const char*>(sound.samples.data()),
                 static_cast<qsizetype>(sound.samples.size() * sizeof(float)));
    return write(name, bytes);
}

std::filesystem::path MediaMaker::encode(const std::filesystem::path& source,
                                         const std::string& name,
                                         const QStringList& options) const {
    const std::filesystem::path target = path(name);
    ffmpeg(QStringList{QStringLiteral("-i"), argument(source)} + options +
           QStringList{argument(target)});
    return target;
}

QByteArray MediaMaker::ffmpeg(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral("ffmpeg"),
                  QStringList{QStringLiteral("-nostdin"), QStringLiteral("-hide_banner"),
                              QStringLiteral("-loglevel"), QStringLiteral("error"),
                              QStringLiteral("-y")} +
                      arguments);
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0) {
        throw std::runtime_error("ffmpeg " + arguments.join(QLatin1Char(' ')).toStdString() + ": " +
                                 process.readAllStandardError().toStdString() +
                                 process.errorString().toStdString());
    }
    return process.readAllStandardOutput();
}

std::vector<float> MediaMaker::decode(const std::filesystem::path& file) {
    const QByteArray bytes = ffmpeg({QStringLiteral("-i"), argument(file), QStringLiteral("-map"),
                                     QStringLiteral("0:a:0"), QStringLiteral("-f"),
                                     QStringLiteral("f32le"), QStringLiteral("-")});
    std::vector<float> samples(static_cast<std::size_t>(bytes.size()) / sizeof(float));
    std::memcpy(samples.data(), bytes.constData(), samples.size() * sizeof(float));
    return samples;
}

std::filesystem::path MediaMaker::write(const std::string& name, const QByteArray& bytes) const {
    const std::filesystem::path target = path(name);
    std::ofstream out(target, std::ios::binary);
    out.write(bytes.constData(), bytes.size());
    if (!out.flush()) {
        throw std::runtime_error("cannot write " + target.string());
    }
    return target;
}

QByteArray MediaMaker::bytesOf(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return QByteArray::fromStdString(bytes);
}

} // namespace ambrel::test
