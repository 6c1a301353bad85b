#pragma once

namespace ambrel {

/// How urgently a sound thread must run.
enum class SoundUrgency {
    ahead,   ///< works ahead, or reports what was heard: decode thread, watch
    onDemand ///< a device waits for it: render thread, device callback, stand-in clock
};

/// Requests real-time scheduling for the calling thread, or a better nice value if that is refused.
/// If both are refused it keeps its priority; that is no error.
///
/// Not for a thread that never rests: it would starve others of a processor.
void raiseSoundPriority(SoundUrgency urgency) noexcept;

} // namespace ambrel
