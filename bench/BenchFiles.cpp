// Opening a file, and the peaks of an hour of sound against ffmpeg decoding it in the same run.
//
// AMBREL_BENCH_FILES names the files, separated by ":"; without it an hour of noise is encoded as
// WAV, FLAC, MP3, M4A, Ogg Vorbis and Opus first.

#include <atomic>
#include <filesystem>
#include <stdexcept>

#include <benchmark/benchmark.h>

#include <QProcess>
#include <QTemporaryDir>
#include <QUrl>

#include "platform/sound/AudioFile.h"
#include "waveform/WaveformGenerator.h"

namespace {

void runFfmpeg(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral("ffmpeg"),
                  QStringList{QStringLiteral("-nostdin"), QStringLiteral("-loglevel"),
                              QStringLiteral("error"), QStringLiteral("-y")} +
                      arguments);
    if (!process.waitForFinished(-1) || process.exitCode() != 0) {
        throw std::runtime_error(process.readAllStandardError().toStdString());
    }
}

QStringList makeHours(const QString& folder) {
    QStringList files;
    for (const char* name :
         {"hour.wav", "hour.flac", "hour.mp3", "hour.m4a", "hour.ogg", "hour.opus"}) {
        files << folder + QLatin1Char('/') + QLatin1String(name);
        runFfmpeg({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                   QStringLiteral("anoisesrc=color=pink:sample_rate=44100:duration=3600"),
                   QStringLiteral("-ac"), QStringLiteral("2"), files.last()});
    }
    return files;
}

void open(benchmark::State& state, const QString& path) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(ambrel::AudioFile::open(path.toStdString()));
    }
}

void peaks(benchmark::State& state, const QString& path) {
    const std::atomic<bool> ending = false;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ambrel::WaveformGenerator::extract(
            QUrl::fromLocalFile(path), [](double, const std::string&) {}, ending));
    }
}

void ffmpegDecode(benchmark::State& state, const QString& path) {
    for (auto _ : state) {
        runFfmpeg({QStringLiteral("-threads"), QStringLiteral("1"), QStringLiteral("-i"), path,
                   QStringLiteral("-map"), QStringLiteral("0:a:0"), QStringLiteral("-f"),
                   QStringLiteral("null"), QStringLiteral("-")});
    }
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const QTemporaryDir folder;
    QStringList files =
        qEnvironmentVariable("AMBREL_BENCH_FILES").split(QLatin1Char(':'), Qt::SkipEmptyParts);
    if (files.isEmpty()) {
        files = makeHours(folder.path());
    }
    for (const QString& file : files) {
        const std::string name = std::filesystem::path(file.toStdString()).filename().string();
        const auto add = [&](const std::string& what, auto run) {
            benchmark::RegisterBenchmark((what + "/" + name).c_str(), run, file)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
        };
        add("open", open);
        add("peaks", peaks);
        add("ffmpeg decode", ffmpegDecode);
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
