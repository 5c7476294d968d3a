#pragma once

#include <curl/curl.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace CloudStorage::Http {

/// The libcurl handles of one transport. A handle serves one call at a time and keeps its
/// connections open in between. Safe for concurrent calls.
class CurlHandlePool {
 private:
  struct HandleDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  };
  using Handle = std::unique_ptr<CURL, HandleDeleter>;

 public:
  /// A handle with no options set, taken from the pool for one call and put back at the end.
  class Lease {
   public:
    /// Throws std::bad_alloc.
    explicit Lease(CurlHandlePool& pool) : pool_(pool), handle_(pool.checkOut()) {}
    ~Lease() { pool_.putBack(std::move(handle_)); }
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    CURL* handle() const { return handle_.get(); }

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

  Handle checkOut();
  /// Of the idle handles, of which there must be one, the one that a call of this thread takes.
  std::vector<Idle>::iterator bestIdle();
  void putBack(Handle handle);
  /// The handle that has rested longest, or null if none is too many.
  Handle takeSurplus();

  std::mutex mutex_;
  std::vector<Idle> idle_;  // guarded by mutex_, as is the number of running calls
  std::size_t running_ = 0;
};

}  // namespace CloudStorage::Http
