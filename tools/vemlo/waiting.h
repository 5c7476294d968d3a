#pragma once

#include <chrono>

namespace tool {

/// Lets `noteInterruption` end a wait. Without this call nothing does.
void prepareInterruption();

/// Notes that the user interrupts the command. May be called by a signal handler.
void noteInterruption();

bool wasInterrupted();

/// Waits until the descriptor can be read, or has no more to read. Throws CommandFailure if the
/// user has interrupted the command, also if that was before the call.
void waitForInput(int descriptor);

/// Waits for that time, with the same end.
void waitFor(std::chrono::milliseconds time);

}  // namespace tool
