#pragma once

#include <pthread.h>

namespace CloudStorage::Util::Threading {

/// Defers the cancellation of the thread (pthread_cancel) for as long as the object exists.
class CancellationDeferred {
 public:
  CancellationDeferred() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &former_); }
  ~CancellationDeferred() { pthread_setcancelstate(former_, nullptr); }
  CancellationDeferred(const CancellationDeferred&) = delete;
  CancellationDeferred& operator=(const CancellationDeferred&) = delete;

  /// Runs `work` as if this object did not exist.
  template <typename Work>
  auto except(const Work& work) const {
    pthread_setcancelstate(former_, nullptr);
    const auto result = work();
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    return result;
  }

 private:
  int former_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace CloudStorage::Util::Threading
