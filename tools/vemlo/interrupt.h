#pragma once

#include <libvemlo.hpp>

namespace tool {

/// Lets the first SIGINT (Ctrl-C) end the running call and those that begin later, and the second
/// one the process. Does nothing if the signal is ignored, as in a shell's background jobs.
void handleInterrupts();

bool wasInterrupted();

/// What ends calls when the user interrupts the command.
const vemlo::Cancellation& interruption();

/// Ends the process by SIGINT, so that a shell knows that the user has interrupted the command.
[[noreturn]] void endByInterrupt();

}  // namespace tool
