#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>

#include "platform/sound/AudioFile.h"

namespace ambrel::test {

/// A stereo file that exists only as a formula: frame number → left and right sample.
class SyntheticFile final : public AudioFile {
  public:
    using Formula = std::function<std::pair<float, float>(std::int64_t frame)>;

    SyntheticFile(int sampleRateHz, std::int64_t length, Formula formula)
        : sampleRateHz_(sampleRateHz), length_(length), formula_(std::move(formula)) {}

    /// Different samples everywhere, so that a frame at the wrong place is noticed.
    static std::shared_ptr<SyntheticFile> numbered(int sampleRateHz, std::int64_t length);
    static std::shared_ptr<SyntheticFile> sine(int sampleRateHz, std::int64_t length, double hz,
                                               double amplitude = 0.5);

    /// What the file holds at a frame; silence outside.
    std::pair<float, float> at(std::int64_t frame) const;

    const std::filesystem::path& path() const noexcept override { return path_; }
    int sampleRate() const noexcept override { return sampleRateHz_; }
    int channels() const noexcept override { return 2; }
    std::int64_t length() const noexcept override { return length_; }
    int samplesPerFrame() const noexcept override { return 2; }
    std::size_t read(std::int64_t first, std::span<float> out) noexcept override;

    /// From this frame on the file no longer decodes.
    std::int64_t brokenFrom = INT64_MAX;
    std::atomic<int> readsBack = 0; ///< reads that began before the end of the one before

  private:
    std::filesystem::path path_ = "/synthetic";
    int sampleRateHz_;
    std::int64_t length_;
    Formula formula_;
    std::atomic<std::int64_t> readTo_ = 0;
};

} // namespace ambrel::test
