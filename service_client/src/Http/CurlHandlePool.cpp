#include "Http/CurlHandlePool.h"

#include <curl/curl.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

namespace CloudStorage::Http {
namespace {

constexpr std::size_t kMaxIdle = 8;

// libcurl appends the keys of all TLS connections to the file that this variable names. In a
// program with more privileges than its user, which secure_getenv() detects, the user must not
// choose it.
void forbidKeyLogOfPrivilegedProcess() {
  constexpr char kVariable[] = "SSLKEYLOGFILE";
  if (::secure_getenv(kVariable) == nullptr) ::unsetenv(kVariable);
}

}  // namespace

CurlHandlePool::CurlHandlePool() {
  // Never undone by curl_global_cleanup(), because the host may use libcurl as well.
  static std::once_flag once;
  std::call_once(once, [] {
    forbidKeyLogOfPrivilegedProcess();
    curl_global_init(CURL_GLOBAL_DEFAULT);
  });
}

CurlHandlePool::Handle CurlHandlePool::acquire() {
  const std::lock_guard lock(mutex_);
  idle_.reserve(idle_.size() + running_ + 1);  // so that release() allocates no memory
  Handle handle;
  if (idle_.empty()) {
    handle = std::make_unique<CurlHandle>();
  } else {
    const auto chosen = selectIdle();
    handle = std::move(chosen->handle);
    idle_.erase(chosen);
  }
  ++running_;
  return handle;
}

// The handle that was used last is the most likely to have an open connection. While other calls
// are running, many connections are open, and a handle that this thread has used before is
// preferred: memory that another thread has used is slower to access.
std::vector<CurlHandlePool::Idle>::iterator CurlHandlePool::selectIdle() {
  const auto last = std::prev(idle_.end());
  if (running_ == 0) return last;
  const auto thread = std::this_thread::get_id();
  const auto own = std::find_if(idle_.begin(), idle_.end(),
                                [thread](const Idle& idle) { return idle.lastUser == thread; });
  return own == idle_.end() ? last : own;
}

void CurlHandlePool::release(Handle handle) {
  handle->reset();
  if (!handle->isReusable()) handle.reset();
  addIdle(std::move(handle));
  while (removeSurplus()) {
    // Destroys the handle, without the lock, because closing a TLS connection takes some time.
  }
}

// `handle` is null if it was destroyed.
void CurlHandlePool::addIdle(Handle handle) {
  const std::lock_guard lock(mutex_);
  if (handle) idle_.push_back({std::move(handle), std::this_thread::get_id()});
  --running_;
}

CurlHandlePool::Handle CurlHandlePool::removeSurplus() {
  const std::lock_guard lock(mutex_);
  // While calls are running, every handle may be needed again soon.
  if (running_ != 0 || idle_.size() <= kMaxIdle) return nullptr;
  Handle oldest = std::move(idle_.front().handle);
  idle_.erase(idle_.begin());
  return oldest;
}

}  // namespace CloudStorage::Http
