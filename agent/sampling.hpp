#pragma once

namespace zol {

/// Has the sampling threads started by the agent's main loop, within a second of its first turn. Not at once: an agent
/// may still go into the background, and its threads would not follow it. Harmless when it was asked for before.
void schedule_sampling();

/// Ends the threads and empties the lists that they keep. Waits until the threads have ended, but not for long: one
/// that hangs in a command is left to itself and ends after that command. Sampling starts anew only when all have
/// ended.
void stop_sampling();

}  // namespace zol
