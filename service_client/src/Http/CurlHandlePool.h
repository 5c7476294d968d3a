#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "Http/CurlHandle.h"

namespace CloudStorage::Http {

/// The libcurl handles of one transport. A handle serves one call at a time and keeps its
/// connections open between calls. Safe for concurrent calls.
class CurlHandlePool {
 private:
  using Handle = std::unique_ptr<CurlHandle>;

 public:
  /// A handle without any options set, acquired for one call and released at its end. Other calls
  /// get it afterwards if it is reusable.
  class Lease {
   public:
    /// Throws std::bad_alloc.
    explicit Lease(CurlHandlePool& pool) : pool_(pool), handle_(pool.acquire()) {}
    ~Lease() { pool_.release(std::move(handle_)); }
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    CurlHandle& handle() const { return *handle_; }

   private:
    CurlHandlePool& pool_;
    Handle handle_;
  };

  CurlHandlePool();

 private:
  struct Idle {
    Handle handle;
    std::thread::id lastUser;
  };

  Handle acquire();
  /// The idle handle that a call of this thread uses. There must be at least one.
  std::vector<Idle>::iterator selectIdle();
  void release(Handle handle);
  void addIdle(Handle handle);
  /// Removes the handle that has been idle longest; null if there is no surplus.
  Handle removeSurplus();

  std::mutex mutex_;
  std::vector<Idle> idle_;  // guarded by mutex_, as is the number of running calls
  std::size_t running_ = 0;
};

}  // namespace CloudStorage::Http
