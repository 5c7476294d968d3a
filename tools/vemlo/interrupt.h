#pragma once

#include <libvemlo.hpp>

#include "waiting.h"

namespace tool {

/// Lets the first SIGINT (Ctrl-C) end the running call, those that begin later and what waits for
/// the user, and the second one the process. SIGTERM, SIGHUP and SIGQUIT end the process, too. When
/// one of these signals ends it, the terminal is restored before. A signal that is ignored, as
/// SIGINT in a shell's background jobs, stays so.
void handleSignals();

/// What ends calls when the user interrupts the command.
const vemlo::Cancellation& interruption();

/// Ends the process by SIGINT, so that a shell knows that the user has interrupted the command.
[[noreturn]] void endByInterrupt();

}  // namespace tool
