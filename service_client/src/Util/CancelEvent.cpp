#include "Util/CancelEvent.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <new>

#include "CloudStorage/Util/Threading/CancellationDeferred.h"

namespace CloudStorage::Util {
namespace {

/// Keeps `errno`, which a signal handler must not change, and defers the cancellation of the
/// thread, because a function that throws nothing must not be left in this way either.
class Undisturbed {
 public:
  Undisturbed() = default;
  ~Undisturbed() { errno = former_; }
  Undisturbed(const Undisturbed&) = delete;
  Undisturbed& operator=(const Undisturbed&) = delete;

 private:
  const Threading::CancellationDeferred cancellation_;
  const int former_ = errno;
};

bool isReadable(int descriptor, int milliseconds) {
  pollfd entry{descriptor, POLLIN, 0};
  return ::poll(&entry, 1, milliseconds) > 0;
}

}  // namespace

CancelEvent::CancelEvent() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (descriptor_ < 0) throw std::bad_alloc();
}

CancelEvent::~CancelEvent() { ::close(descriptor_); }

// Fails only if the counter is at its limit, where the event is triggered, too.
void CancelEvent::trigger() const noexcept {
  const Undisturbed undisturbed;
  ::eventfd_write(descriptor_, 1);
}

// Fails only if the event is not triggered.
void CancelEvent::reset() const noexcept {
  const Undisturbed undisturbed;
  eventfd_t count = 0;
  ::eventfd_read(descriptor_, &count);
}

bool CancelEvent::isTriggered() const noexcept {
  const Undisturbed undisturbed;
  return isReadable(descriptor_, 0);
}

void CancelEvent::wait(std::chrono::milliseconds limit) const {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kLongest{INT_MAX};
  const auto end = Clock::now() + std::min(limit, kLongest);
  for (auto left = limit; left.count() > 0;) {  // a signal ends poll() early
    if (isReadable(descriptor_, static_cast<int>(std::min(left, kLongest).count()))) return;
    left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
  }
}

}  // namespace CloudStorage::Util
