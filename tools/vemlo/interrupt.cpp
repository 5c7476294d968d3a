#include "interrupt.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "terminal.h"

namespace tool {
namespace {

/// Never released, because the handler may run at any time.
vemlo::Cancellation* cancellation = nullptr;

/// Restores the terminal, and ends the process as the signal does that nobody handles.
[[noreturn]] void endBySignal(int signal) {
  restoreTerminal();
  std::signal(signal, SIG_DFL);
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, signal);
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  std::raise(signal);
  std::abort();  // not reached
}

void interrupt(int signal) {
  if (wasInterrupted()) endBySignal(signal);
  const int error = errno;
  noteInterruption();
  cancellation->trigger();
  errno = error;
}

void end(int signal) { endBySignal(signal); }

void handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  sigaction(signal, nullptr, &action);
  if (action.sa_handler == SIG_IGN) return;
  action = {};
  action.sa_handler = handler;
  // A process in the background would otherwise be stopped where it restores the terminal.
  sigaddset(&action.sa_mask, SIGTTOU);
  sigaction(signal, &action, nullptr);
}

}  // namespace

void handleSignals() {
  cancellation = new vemlo::Cancellation;
  prepareInterruption();
  handle(SIGINT, interrupt);
  for (const int signal : {SIGTERM, SIGHUP, SIGQUIT}) handle(signal, end);
}

const vemlo::Cancellation& interruption() { return *cancellation; }

void endByInterrupt() { endBySignal(SIGINT); }

}  // namespace tool
