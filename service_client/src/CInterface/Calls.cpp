// Deadline, cancellation and progress of calls.

#include <chrono>
#include <memory>
#include <new>

#include "Client/CallControl.h"
#include "Util/CancelEvent.h"
#include "libvemlo_service_client.h"

using CloudStorage::Client::CallControl;
using CloudStorage::Util::CancelEvent;

/// Shares the event with the threads whose calls depend on it, which may outlive this object.
struct vemlo_client_cancellation {
  std::shared_ptr<const CancelEvent> event = std::make_shared<const CancelEvent>();
};

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

steady_clock::time_point timePoint(int64_t time) {
  constexpr auto kNever = steady_clock::time_point::max();
  constexpr auto kLast = std::chrono::duration_cast<milliseconds>(kNever.time_since_epoch());
  return time == 0 || time >= kLast.count() ? kNever : steady_clock::time_point(milliseconds(time));
}

}  // namespace

int64_t vemlo_client_now(void) {
  return std::chrono::duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

int vemlo_client_set_deadline(int64_t deadline) {
  if (deadline < 0) return -1;
  CallControl::ofThread().deadline = timePoint(deadline);
  return 0;
}

vemlo_client_cancellation* vemlo_client_cancellation_create(void) {
  try {
    return std::make_unique<vemlo_client_cancellation>().release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void vemlo_client_cancellation_trigger(vemlo_client_cancellation* cancellation) {
  if (cancellation != nullptr) cancellation->event->trigger();
}

void vemlo_client_cancellation_reset(vemlo_client_cancellation* cancellation) {
  if (cancellation != nullptr) cancellation->event->reset();
}

int vemlo_client_cancellation_is_triggered(const vemlo_client_cancellation* cancellation) {
  return cancellation != nullptr && cancellation->event->isTriggered() ? 1 : 0;
}

void vemlo_client_cancellation_release(vemlo_client_cancellation* cancellation) {
  const std::unique_ptr<vemlo_client_cancellation> released(cancellation);
}

void vemlo_client_set_cancellation(vemlo_client_cancellation* cancellation) {
  CallControl::ofThread().cancelEvent = cancellation == nullptr ? nullptr : cancellation->event;
}

void vemlo_client_set_progress_callback(vemlo_client_progress_callback callback, void* user) {
  auto& progress = CallControl::ofThread().progress;
  if (callback == nullptr) {
    progress = nullptr;
    return;
  }
  progress = [callback, user](const CallControl::Progress& reached) {
    const vemlo_client_progress record{sizeof record,       static_cast<int32_t>(reached.service),
                                       reached.operation,   reached.usage.requests,
                                       reached.usage.bytes, reached.usage.entries};
    return callback(&record, user) == 0;
  };
}
