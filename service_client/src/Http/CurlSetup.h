#pragma once

#include <curl/curl.h>

#include <type_traits>

namespace CloudStorage::Http {

/// Sets options of a handle up to the first that libcurl rejects. A transfer must not run without
/// an option that could not be set, least of all without the verification of certificates.
class CurlSetup {
 public:
  explicit CurlSetup(CURL* handle) : handle_(handle) {}

  template <typename Value>
  void set(CURLoption option, Value value) {
    static_assert(!std::is_same_v<Value, int>, "libcurl reads a long from its variable arguments");
    if (result_ == CURLE_OK) result_ = curl_easy_setopt(handle_, option, value);
  }
  CURLcode result() const { return result_; }

 private:
  CURL* handle_;
  CURLcode result_ = CURLE_OK;
};

}  // namespace CloudStorage::Http
