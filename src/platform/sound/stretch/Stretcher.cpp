#include "platform/sound/stretch/Stretcher.h"

#include <algorithm>
#include <cmath>

#include <rubberband/RubberBandStretcher.h>

namespace ambrel {

namespace {

using RubberBand::RubberBandStretcher;

constexpr RubberBandStretcher::Options options = RubberBandStretcher::OptionProcessRealTime |
                                                 RubberBandStretcher::OptionEngineFiner |
                                                 RubberBandStretcher::OptionChannelsTogether;

/// With the smaller windows that the engine (3.1) takes for lower rates, it reads beyond the
/// largest when sound is both sped up and transposed down: its hops are then too long for it.
constexpr int lowestHz = 33'000;

std::unique_ptr<RubberBandStretcher> makeEngine(int sampleRateHz, Stretcher::Windows windows,
                                                Stretcher::Pitch pitch) {
    // The others click when the pitch crosses 0 cents, but do not resample at 0 cents.
    const int pitchOption = pitch == Stretcher::Pitch::Any
                                ? RubberBandStretcher::OptionPitchHighConsistency
                                : RubberBandStretcher::OptionPitchHighSpeed;
    const bool isShort = windows == Stretcher::Windows::Short;
    const int hz = std::clamp(sampleRateHz, isShort ? 8000 : lowestHz, 192'000);
    return std::make_unique<RubberBandStretcher>(
        static_cast<std::size_t>(hz), 2,
        options | pitchOption | (isShort ? RubberBandStretcher::OptionWindowShort : 0));
}

/// The engine works in hops, so it is ahead of the exact position by up to one. The largest lag
/// within this period is what counts.
constexpr double observedSeconds = 0.1;
constexpr double correctAboveSeconds = 0.003;
constexpr double rightBelowSeconds = 0.001;
/// A correction aims to be done within this time, and is too small to be noticed.
constexpr double correctedInSeconds = 0.5;
constexpr double strongestCorrection = 0.05;
constexpr double weakestCorrection = 0.01;

} // namespace

Stretcher::Stretcher(int sampleRateHz, const std::stop_token& stop, Windows windows, Pitch pitch)
    : sampleRateHz_(sampleRateHz), pitch_(pitch),
      engine_(makeEngine(sampleRateHz, windows, pitch)) {
    engine_->setMaxProcessSize(feedFrames);
    pad_ = (engine_->getPreferredStartPad() + feedFrames - 1) / feedFrames * feedFrames;
    warmUp(stop);
}

Stretcher::~Stretcher() = default;

void Stretcher::warmUp(const std::stop_token& stop) {
    double phase = 0;
    for (const double rate : {1.0, minRate, maxRate}) {
        for (const double cents : {0.0, -maxCents, maxCents}) {
            if (cents != 0 && !canTranspose())
                continue;
            reset(rate, cents);
            feedSine(phase, stop);
        }
    }
    if (canTranspose()) {
        // While running: that is when the engine's resampler starts to retain sound.
        setCents(-maxCents);
        feedSine(phase, stop);
        measureKept();
    }
    reset(1, 0);
}

void Stretcher::feedSine(double& phase, const std::stop_token& stop) {
    std::array<float, 2 * feedFrames> sound{};
    std::array<float, 2 * takeFrames> heard{};
    const std::size_t frames = pad_ + 1024; // some hops at any speed
    for (std::size_t fed = 0; fed < frames && !stop.stop_requested(); fed += feedFrames) {
        for (float& sample : sound)
            sample = static_cast<float>(0.1 * std::sin(phase += 0.05));
        feed(sound.data());
        while (take(heard.data(), takeFrames) > 0) {
        }
    }
}

/// Once the pitch has changed while running, the engine's reset leaves its resampler filled, which
/// delays every later start. A click shows by how much.
void Stretcher::measureKept() {
    reset(1, 0);
    discard(startDelay());
    std::array<float, 2 * feedFrames> sound{};
    std::array<float, 2 * takeFrames> heard{};
    for (std::size_t fed = 0; fed < pad_; fed += feedFrames)
        feed(sound.data());
    sound[0] = 1;
    while (available() < takeFrames) {
        feed(sound.data());
        sound[0] = 0;
    }
    take(heard.data(), takeFrames);
    keptFrames_ = (std::ranges::max_element(heard) - heard.begin()) / 2;
}

void Stretcher::reset(double rate, double cents) {
    // The engine's reset keeps its analysis of the earlier sound, from which it would set the first
    // phases; a hop of silence at normal speed replaces that.
    constexpr std::array<float, 2 * feedFrames> silence{};
    begin(1, 0);
    while (ready() == 0)
        feed(silence.data());
    begin(rate, cents);
    observed_ = 0;
    discard_ = 0;
    taken_ = 0;
}

void Stretcher::begin(double rate, double cents) {
    engine_->reset();
    rate_ = rate;
    correction_ = 0;
    applyRatio();
    setCents(cents);
}

std::int64_t Stretcher::startDelay() const noexcept {
    return static_cast<std::int64_t>(engine_->getStartDelay()) +
           std::llround(static_cast<double>(keptFrames_) / engine_->getPitchScale());
}

void Stretcher::applyRatio() {
    engine_->setTimeRatio((1 + correction_) / rate_);
}

void Stretcher::setRate(double rate) {
    if (rate_ == rate)
        return;
    rate_ = rate;
    applyRatio();
}

void Stretcher::setCents(double cents) {
    engine_->setPitchScale(std::exp2(cents / 1200));
}

void Stretcher::feed(const float* stereo) {
    for (std::size_t i = 0; i < feedFrames; ++i) {
        in_[0][i] = stereo[2 * i];
        in_[1][i] = stereo[2 * i + 1];
    }
    const std::array<const float*, 2> channels{in_[0].data(), in_[1].data()};
    engine_->process(channels.data(), feedFrames, false);
}

int Stretcher::ready() const noexcept {
    return std::max(0, engine_->available());
}

std::size_t Stretcher::available() {
    while (discard_ > 0 && ready() > 0) {
        std::array<float*, 2> channels{out_[0].data(), out_[1].data()};
        const auto count = engine_->retrieve(
            channels.data(),
            static_cast<std::size_t>(std::min<std::int64_t>({discard_, ready(), takeFrames})));
        discard_ -= static_cast<std::int64_t>(count);
        taken_ += static_cast<std::int64_t>(count);
    }
    return discard_ > 0 ? 0 : static_cast<std::size_t>(ready());
}

std::size_t Stretcher::take(float* stereo, std::size_t frames) {
    frames = std::min({frames, available(), takeFrames});
    std::array<float*, 2> channels{out_[0].data(), out_[1].data()};
    frames = engine_->retrieve(channels.data(), frames);
    for (std::size_t i = 0; i < frames; ++i) {
        stereo[2 * i] = out_[0][i];
        stereo[2 * i + 1] = out_[1][i];
    }
    taken_ += static_cast<std::int64_t>(frames);
    return frames;
}

double Stretcher::committed() const noexcept {
    return static_cast<double>(taken_ + ready() + startDelay());
}

void Stretcher::correct(double behindFrames) {
    if (observed_ == 0 || behindFrames > mostBehind_)
        mostBehind_ = behindFrames;
    observed_ += feedFrames / rate_;
    if (observed_ < observedSeconds * sampleRateHz_)
        return;
    observed_ = 0;
    const double seconds = mostBehind_ / sampleRateHz_;
    const double size = std::abs(seconds);
    double wanted = correction_;
    if (size > correctAboveSeconds)
        wanted = std::copysign(
            std::clamp(size / correctedInSeconds, weakestCorrection, strongestCorrection), seconds);
    else if (size < rightBelowSeconds || seconds * correction_ < 0)
        wanted = 0;
    if (wanted == correction_)
        return;
    correction_ = wanted;
    applyRatio();
}

} // namespace ambrel
