#pragma once

#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include <QTest>

#include "platform/sound/AudioFile.h"
#include "support/MediaMaker.h"

/// What the tests of AudioFile read, and how they compare what they got.
namespace ambrel::test {

struct Format {
    const char* name;
    const char* file;
    const char* options;
    bool exact = true;          ///< decodes to the same samples wherever it starts
    bool knowsItsLength = true; ///< says how much the encoder added
    int rate = 44100;
};

inline const Format formats[] = {
    {"wav 8", "a8.wav", "-c:a pcm_u8"},
    {"wav 16", "a16.wav", "-c:a pcm_s16le"},
    {"wav 24", "a24.wav", "-c:a pcm_s24le"},
    {"wav 32", "a32.wav", "-c:a pcm_s32le"},
    {"wav float", "af.wav", "-c:a pcm_f32le"},
    {"aiff", "a.aiff", "-c:a pcm_s16be"},
    {"flac", "a.flac", ""},
    {"flac 24", "a24.flac", "-sample_fmt s32"},
    {"alac", "alac.m4a", "-c:a alac -movflags +faststart"},
    {"mp3 cbr", "cbr.mp3", "-b:a 128k"},
    {"mp3 vbr", "vbr.mp3", "-q:a 3"},
    {"mp3 tagged", "tag.mp3", "-q:a 3 -id3v2_version 3 -write_id3v1 1 -metadata title=Practice"},
    {"mp3 bare cbr", "bare.mp3", "-b:a 128k -write_xing 0 -id3v2_version 0", true, false},
    {"mp3 bare vbr", "barev.mp3", "-q:a 3 -write_xing 0", true, false},
    {"vorbis", "a.ogg", "-c:a libvorbis -q:a 4"},
    {"opus", "a.opus", "-c:a libopus", true, true, 48000},
    {"aac", "a.m4a", "-c:a aac -movflags +faststart", false},
};

inline constexpr double phraseSeconds = 8.345;
inline constexpr double silent = -std::numeric_limits<double>::infinity();

/// From the first frame to the last, through read().
inline std::vector<float> readAll(AudioFile& file) {
    const auto samples = static_cast<std::size_t>(file.samplesPerFrame());
    std::vector<float> result;
    std::vector<float> some(10007 * samples);
    while (const std::size_t got =
               file.read(static_cast<std::int64_t>(result.size() / samples), some)) {
        result.insert(result.end(), some.begin(),
                      some.begin() + static_cast<std::ptrdiff_t>(got * samples));
    }
    return result;
}

inline QStringList split(const char* options) {
    return QString::fromUtf8(options).split(u' ', Qt::SkipEmptyParts);
}

/// The power of the difference against full scale; minus infinity for equal samples.
inline double differenceInDecibels(const std::vector<float>& samples, const float* expected) {
    double power = 0.0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double difference = static_cast<double>(samples[i]) - expected[i];
        power += difference * difference;
    }
    return 10.0 * std::log10(power / static_cast<double>(samples.size()));
}

/// A phrase of that length in that format; made once for each test.
inline std::filesystem::path encoded(MediaMaker& media, const Format& format,
                                     double seconds = phraseSeconds) {
    const std::string name = std::to_string(std::lround(seconds * 1000)) + "-" + format.file;
    if (std::filesystem::exists(media.path(name))) {
        return media.path(name);
    }
    const auto source = media.wav("source.wav", MediaMaker::phrase(seconds, format.rate));
    return media.encode(source, name, split(format.options));
}

/// A row for every format.
inline void addFormats() {
    QTest::addColumn<int>("index");
    for (int i = 0; i < static_cast<int>(std::size(formats)); ++i) {
        QTest::newRow(formats[i].name) << i;
    }
}

} // namespace ambrel::test
