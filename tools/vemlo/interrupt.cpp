#include "interrupt.h"

#include <csignal>
#include <cstdlib>

namespace tool {
namespace {

volatile std::sig_atomic_t isInterrupted = 0;

/// Never released, because the handler may run at any time.
vemlo::Cancellation* cancellation = nullptr;

void handle(int /*signal*/) {
  isInterrupted = 1;
  cancellation->trigger();
}

}  // namespace

void handleInterrupts() {
  cancellation = new vemlo::Cancellation;
  struct sigaction action {};
  sigaction(SIGINT, nullptr, &action);
  if (action.sa_handler == SIG_IGN) return;
  action = {};
  action.sa_handler = handle;
  // Not SA_RESTART: an interrupted command does not wait for input.
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
}

bool wasInterrupted() { return isInterrupted != 0; }

const vemlo::Cancellation& interruption() { return *cancellation; }

void endByInterrupt() {
  std::signal(SIGINT, SIG_DFL);
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  std::raise(SIGINT);
  std::abort();  // not reached
}

}  // namespace tool
