// Renders a region of a file to a WAV file, through the same graph that plays it: what is written
// is what the sound device would have been given. See docs/sound.md.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include "ambrel-render-options.h"
#include "ambrel-render-wav.h"
#include "platform/sound/AudioFile.h"
#include "platform/sound/AudioGraph.h"
#include "platform/sound/device/OfflineOutput.h"

using namespace ambrel;

namespace {

/// Frames pulled at a time, about what a desktop's sound server asks for.
constexpr std::int64_t blockFrames = 512;
constexpr std::array<float, 5> bandsHz = {60, 250, 1000, 4000, 12000};
constexpr float bandOctaves = 1;

double cpuSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

struct Region {
    std::int64_t startFrame = 0;
    std::int64_t frameCount = 0;
};

/// Seconds become frames as they do when a region is played: cut off, not rounded.
Region regionOf(const RenderOptions& options, const AudioFile& file) {
    const double rate = file.sampleRate();
    const auto frameAt = [rate](double seconds) {
        return static_cast<std::int64_t>(rate * seconds);
    };
    const std::int64_t start = options.fromSeconds ? frameAt(*options.fromSeconds) : 0;
    const std::int64_t end = options.toSeconds ? frameAt(*options.toSeconds) : file.length();
    if (start >= end)
        throw std::invalid_argument("The region must end after it starts.");
    return {start, end - start};
}

/// One render: the graph, where its frames go, and what is measured on the way.
class Render {
  public:
    Render(const RenderOptions& options, std::shared_ptr<AudioFile> file, int sampleRateHz)
        : options_(options), file_(std::move(file)), region_(regionOf(options, *file_)),
          sampleRateHz_(sampleRateHz), wav_(options.outputPath, sampleRateHz),
          output_(new OfflineOutput(sampleRateHz)),
          graph_(AudioGraph::create(std::unique_ptr<AudioOutput>(output_))),
          block_(2 * blockFrames) {
        graph_->setRate(static_cast<float>(options.rate));
        graph_->setPitch(static_cast<float>(options.cents));
        for (int band = 0; band < AudioGraph::bandCount; ++band)
            graph_->setEqualiserBand(band, bandsHz[std::size_t(band)], bandOctaves,
                                     gain(std::size_t(band)));
        graph_->setEqualiserBypass(!options.gainsDb);
        graph_->start();
    }

    QJsonObject run() {
        const double cpuBefore = cpuSeconds();
        graph_->scheduleSegment(
            file_, region_.startFrame, region_.frameCount, [] {},
            Announcement{1, region_.startFrame, region_.frameCount, 0, options_.passes - 1});
        graph_->play();
        while (pullBlock()) {
        }
        const double cpu = cpuSeconds() - cpuBefore;
        wav_.finish();
        return {{QStringLiteral("frames"), static_cast<qint64>(wav_.frames())},
                {QStringLiteral("sampleRate"), sampleRateHz_},
                {QStringLiteral("channels"), 2},
                {QStringLiteral("cpuSeconds"), cpu},
                {QStringLiteral("worstBlockMs"), worstBlockMs_}};
    }

  private:
    float gain(std::size_t band) const {
        return options_.gainsDb ? static_cast<float>((*options_.gainsDb)[band]) : 0;
    }

    bool pullBlock() {
        const std::int64_t wanted = framesToNextChange();
        const auto before = std::chrono::steady_clock::now();
        const std::size_t got = output_->pull(block_.data(), static_cast<std::size_t>(wanted));
        const std::chrono::duration<double, std::milli> took =
            std::chrono::steady_clock::now() - before;
        worstBlockMs_ = std::max(worstBlockMs_, took.count());
        wav_.write(std::span(block_).first(2 * got));
        return got == static_cast<std::size_t>(wanted);
    }

    /// Makes the changes that are due and says how many frames lie before the next, a block at
    /// most.
    std::int64_t framesToNextChange() {
        while (changed_ < options_.changes.size()) {
            const RenderChange& change = options_.changes[changed_];
            const std::int64_t left =
                std::llround(change.atSeconds * sampleRateHz_) - wav_.frames();
            if (left > 0)
                return std::min(left, blockFrames);
            if (change.parameter == RenderChange::Parameter::rate)
                graph_->setRate(static_cast<float>(change.value));
            else
                graph_->setPitch(static_cast<float>(change.value));
            ++changed_;
        }
        return blockFrames;
    }

    const RenderOptions& options_;
    std::shared_ptr<AudioFile> file_;
    Region region_;
    int sampleRateHz_;
    WavWriter wav_;
    OfflineOutput* output_; ///< the graph's
    std::unique_ptr<AudioGraph> graph_;
    std::vector<float> block_;
    std::size_t changed_ = 0;
    double worstBlockMs_ = 0;
};

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    try {
        const RenderOptions options = RenderOptions::parse(QCoreApplication::arguments());
        const auto pathOf = [](const QString& name) {
            return std::filesystem::path(QFileInfo(name).absoluteFilePath().toStdString());
        };
        const auto file = AudioFile::open(pathOf(options.inputPath));
        std::error_code isNotThere;
        if (std::filesystem::equivalent(file->path(), pathOf(options.outputPath), isNotThere))
            throw std::invalid_argument("The file would be overwritten by what is made of it.");
        Render render(options, file,
                      options.deviceRateHz.value_or(std::clamp(file->sampleRate(), 8000, 192000)));
        const QJsonObject result = render.run();
        std::printf("%s\n", QJsonDocument(result).toJson(QJsonDocument::Compact).constData());
        return std::fflush(stdout) == 0 ? 0 : 2;
    } catch (const std::exception& error) {
        std::string line = error.what();
        std::replace(line.begin(), line.end(), '\n', ' ');
        std::fprintf(stderr, "ambrel-render: %s\n", line.c_str());
        return 2;
    }
}
