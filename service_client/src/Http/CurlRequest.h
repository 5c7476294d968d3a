#pragma once

#include <curl/curl.h>

#include <memory>
#include <string>

#include "CloudStorage/Http/Transport.h"
#include "Http/CurlTransport.h"

namespace CloudStorage::Http {

/// A request in the terms of libcurl: its options, and the memory that they refer to. It must
/// outlive the transfer, and what it is constructed from must outlive it.
class CurlRequest {
 public:
  /// Throws std::bad_alloc.
  CurlRequest(const Request& request, const CurlTransport::Options& options);

  /// Returns the result of the option that libcurl rejects, if there is one.
  CURLcode applyTo(CURL* handle) const;

 private:
  struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };

  void addHeaderLine(const char* line);

  const Request& request_;
  const CurlTransport::Options& options_;
  std::string url_;
  std::unique_ptr<curl_slist, ListDeleter> headerLines_;
};

}  // namespace CloudStorage::Http
