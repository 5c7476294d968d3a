#include "waiting.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>

#include "command_failure.h"

namespace tool {
namespace {

volatile std::sig_atomic_t isInterrupted = 0;

/// Can be read from the interruption on. A signal alone would not end a wait that begins just after
/// it. Negative, which poll() skips, before it is prepared.
int interruption = -1;

constexpr int kForever = -1;

void wait(int descriptor, int milliseconds) {
  std::array<pollfd, 2> waited{{{interruption, POLLIN, 0}, {descriptor, POLLIN, 0}}};
  while (::poll(waited.data(), waited.size(), milliseconds) < 0 && errno == EINTR) {
  }
  if (waited[0].revents == 0) return;
  throw CommandFailure(ExitCode::LocalFailure, "the user has interrupted the command");
}

}  // namespace

void prepareInterruption() { interruption = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK); }

void noteInterruption() {
  isInterrupted = 1;
  const std::uint64_t one = 1;
  // It can only fail if the descriptor can be read already.
  [[maybe_unused]] const ssize_t size = ::write(interruption, &one, sizeof one);
}

bool wasInterrupted() { return isInterrupted != 0; }

void waitForInput(int descriptor) { wait(descriptor, kForever); }

void waitFor(std::chrono::milliseconds time) { wait(-1, static_cast<int>(time.count())); }

}  // namespace tool
