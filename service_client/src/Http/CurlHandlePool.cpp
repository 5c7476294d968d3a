#include "Http/CurlHandlePool.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

namespace CloudStorage::Http {
namespace {

constexpr std::size_t kMaxIdle = 8;

}  // namespace

CurlHandlePool::CurlHandlePool() {
  // The process may use libcurl for itself, so what is set up here is never taken down.
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

CurlHandlePool::Handle CurlHandlePool::checkOut() {
  const std::lock_guard lock(mutex_);
  idle_.reserve(idle_.size() + running_ + 1);  // so that putting back needs no memory
  Handle handle;
  if (idle_.empty()) {
    handle.reset(curl_easy_init());
    if (!handle) throw std::bad_alloc();
  } else {
    const auto chosen = bestIdle();
    handle = std::move(chosen->handle);
    idle_.erase(chosen);
  }
  ++running_;
  return handle;
}

// The one used last has the connection that is open still. While other calls are running, many are
// open; then memory that another thread has used is slower to use.
std::vector<CurlHandlePool::Idle>::iterator CurlHandlePool::bestIdle() {
  const auto last = std::prev(idle_.end());
  if (running_ == 0) return last;
  const auto thread = std::this_thread::get_id();
  const auto own = std::find_if(idle_.begin(), idle_.end(),
                                [thread](const Idle& idle) { return idle.lastUser == thread; });
  return own == idle_.end() ? last : own;
}

void CurlHandlePool::putBack(Handle handle) {
  curl_easy_reset(handle.get());  // forgets the request, keeps the connections
  {
    const std::lock_guard lock(mutex_);
    idle_.push_back({std::move(handle), std::this_thread::get_id()});
    --running_;
  }
  while (takeSurplus()) {
    // The handle is closed here, without the lock, since saying good-bye over TLS takes a while.
  }
}

CurlHandlePool::Handle CurlHandlePool::takeSurplus() {
  const std::lock_guard lock(mutex_);
  // While calls are running, the next moment may need every handle again.
  if (running_ != 0 || idle_.size() <= kMaxIdle) return nullptr;
  Handle oldest = std::move(idle_.front().handle);
  idle_.erase(idle_.begin());
  return oldest;
}

}  // namespace CloudStorage::Http
