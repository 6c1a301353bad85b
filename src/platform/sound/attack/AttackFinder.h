#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "platform/sound/attack/Spectrum.h"

namespace ambrel {

/// An attack lifted out of a file: the few milliseconds of it that stand above both what was heard
/// before and what is heard afterwards.
struct Attack {
    std::int64_t onset = 0; ///< file frame at which it sets in
    std::int64_t begin = 0; ///< file frame of the first of the frames below
    /// What is taken from the sound that is stretched. Interleaved stereo, as is what follows.
    std::vector<float> removed;
    /// What is played instead, unstretched. It is louder: the stretched rest is no longer in phase
    /// with it, so that their powers add up, not their amplitudes.
    std::vector<float> played;

    std::int64_t end() const noexcept {
        return begin + static_cast<std::int64_t>(removed.size() / 2);
    }
};

/// Finds the attacks in a file, such as those of drums, plucked strings and consonants, and lifts
/// them out.
///
/// An attack is where the energy of enough critical bands rises at once by several decibels over
/// all of the last 46 ms; a steady tone, chord, swell or noise has none. In each bin of its
/// spectra, only what exceeds the level before and after it is lifted out (a soft mask).
///
/// What has been worked out for a range is kept for the next: ranges that follow one another take a
/// quarter of the time. One thread at a time.
class AttackFinder {
  public:
    /// For one file, of this rate.
    explicit AttackFinder(int sampleRateHz);

    /// Frames that find() must see before and after the range that it looks at.
    std::int64_t framesBefore() const noexcept;
    std::int64_t framesAfter() const noexcept;

    /// The attacks that are found from file frame `first` on, for `count` frames. `stereo` begins
    /// framesBefore() earlier and ends framesAfter() later, with silence outside the file, which is
    /// `fileLength` frames long. Whatever range they are looked for in, they are the same. `first`
    /// and `count` are multiples of 512.
    std::vector<Attack> find(std::span<const float> stereo, std::int64_t first, std::int64_t count,
                             std::int64_t fileLength);

  private:
    /// Of one spectrum, summed over the channels.
    using Powers = std::vector<float>;

    /// Values of hops, kept until that of another hop takes their place. `Count` is a power of two.
    template <typename Value, std::size_t Count> class Latest {
      public:
        template <typename WorkOut> const Value& at(std::int64_t hop, WorkOut workOut) {
            Entry& entry = entries_[std::size_t(hop) % Count];
            if (entry.hop != hop)
                entry = {hop, workOut()};
            return entry.value;
        }

      private:
        struct Entry {
            std::int64_t hop = std::numeric_limits<std::int64_t>::min();
            Value value{};
        };
        std::vector<Entry> entries_ = std::vector<Entry>(Count);
    };

    std::int64_t framesIn(double ms) const noexcept;
    std::int64_t hopsIn(double ms) const noexcept;
    void takeApart(std::span<const float> stereo);
    std::size_t windowAt(std::int64_t hop) const;
    const Powers& powersAt(std::int64_t hop);
    double energyAt(std::int64_t hop);
    std::vector<std::int64_t> onsets(std::int64_t first, std::int64_t end);
    std::vector<double> loudness(std::int64_t first, std::int64_t end);
    bool lift(std::int64_t onsetHop, Attack& attack);
    std::vector<float> maskFor(std::span<const Powers> powers, std::size_t onset) const;
    std::int64_t settingIn(const Attack& attack, std::int64_t onset) const;
    void shape(Attack& attack, std::int64_t end, std::int64_t fade) const;

    int sampleRateHz_;
    Spectrum spectrum_;
    std::int64_t hop_;
    std::int64_t origin_ = 0; ///< file frame of the first frame of channels_
    std::vector<float> channels_[2];
    Latest<Powers, 128> powers_;
    Latest<double, 512> energies_;
};

} // namespace ambrel
