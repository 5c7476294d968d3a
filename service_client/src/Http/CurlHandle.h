#pragma once

#include <curl/curl.h>

#include <memory>

#include "CloudStorage/Http/Transport.h"

namespace CloudStorage::Http {

/// A handle of libcurl with the connections that it keeps open between transfers. One thread uses
/// it at a time.
class CurlHandle {
 public:
  /// Throws std::bad_alloc.
  CurlHandle();
  ~CurlHandle();
  CurlHandle(const CurlHandle&) = delete;
  CurlHandle& operator=(const CurlHandle&) = delete;

  /// For setting options and for information on the last transfer.
  CURL* get() const { return easy_.get(); }

  /// Runs one transfer. Ends it with CURLE_ABORTED_BY_CALLBACK if `interrupt` does. If the thread
  /// is cancelled meanwhile, it ends here, but only while it waits for the network: libcurl is then
  /// in a defined state, which it is not if the thread ends in one of the system calls in its
  /// midst.
  CURLcode perform(const Request::Interrupt& interrupt);

  /// Resets all options and keeps the connections.
  void reset();

  /// Whether another transfer can use this handle. False if the last one did not return or failed:
  /// a failed allocation leaves a handle unusable, and libcurl also reports it as other failures,
  /// such as an unknown host.
  bool isReusable() const { return isReusable_; }

 private:
  struct EasyDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  };
  struct MultiDeleter {
    void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
  };

  CURLcode transfer(const Request::Interrupt& interrupt);

  // The connections belong to the multi handle, which must outlive the other.
  std::unique_ptr<CURLM, MultiDeleter> multi_;
  std::unique_ptr<CURL, EasyDeleter> easy_;
  bool isReusable_ = true;
};

}  // namespace CloudStorage::Http
