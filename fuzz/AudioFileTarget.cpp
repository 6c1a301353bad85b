#include <algorithm>
#include <atomic>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include <QUrl>

#include "Targets.h"
#include "platform/sound/AudioFile.h"
#include "waveform/WaveformGenerator.h"

namespace ambrel::fuzz {
namespace {

/// A file that exists in memory only.
class MemoryFile {
  public:
    explicit MemoryFile(Bytes bytes) : descriptor_(::memfd_create("input", MFD_CLOEXEC)) {
        const auto written = ::write(descriptor_, bytes.data(), bytes.size());
        promise(written == ssize_t(bytes.size()), "the input can be written");
    }
    ~MemoryFile() { ::close(descriptor_); }

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

  private:
    int descriptor_;
};

void readHereAndThere(AudioFile& file) {
    const std::int64_t length = file.length();
    promise(length > 0 && file.sampleRate() > 0 && file.channels() > 0, "an open file has sound");
    std::vector<float> some(4000);
    const auto room = some.size() / std::size_t(file.samplesPerFrame());
    for (const std::int64_t first : {length / 2, length - 1, length, length / 3, -length,
                                     std::int64_t{0}, length - 1000, INT64_MAX, INT64_MIN}) {
        const std::int64_t sound = file.afterGap(first);
        promise(sound == first || (sound > first && sound <= length), "a gap ends in the file");
        const std::size_t got = file.read(first, some);
        const bool isInside = first >= 0 && first < length;
        promise(got <= (isInside ? std::min(room, std::size_t(length - first)) : 0),
                "no more is read than there is");
        promise(std::all_of(some.begin(), some.begin() + std::ptrdiff_t(got),
                            [](float sample) { return std::abs(sample) <= 65536; }),
                "samples are finite");
    }
}

/// That a sentence is for the user, on one line.
void check(const std::string& sentence) {
    promise(sentence.ends_with('.') && sentence.find('\n') == std::string::npos,
            "an error is one sentence");
}

} // namespace

void audioFile(Bytes bytes) {
    const MemoryFile file(bytes);
    try {
        readHereAndThere(*AudioFile::open(file.path()));
    } catch (const AudioFileError& error) {
        check(error.what());
    }
    try {
        const std::atomic<bool> ending = false;
        const auto peaks = WaveformGenerator::extract(
            QUrl::fromLocalFile(QString::fromStdString(file.path())), [](auto&&...) {}, ending);
        promise(std::all_of(peaks.begin(), peaks.end(),
                            [](float peak) { return peak >= 0 && peak <= 1; }),
                "peaks are from 0 to 1");
    } catch (const WaveformError& error) {
        check(error.what());
    } catch (const AudioFileError& error) {
        check(error.what());
    }
}

} // namespace ambrel::fuzz
