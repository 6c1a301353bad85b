#pragma once

namespace ambrel {

/// How soon a thread of the sound must run once it has something to do.
enum class SoundUrgency {
    ahead,   ///< it works well ahead, or tells what was heard: the decode thread, the watch
    onDemand ///< a device waits for it: the render thread and the device's own
};

/// Asks for the calling thread to run before ordinary programs: real-time scheduling, or a better
/// nice value where that is refused. A refusal of both is no error: the thread runs as it did.
///
/// Not for a thread that works without a pause, which would keep others from a processor.
void raiseSoundPriority(SoundUrgency urgency) noexcept;

} // namespace ambrel
