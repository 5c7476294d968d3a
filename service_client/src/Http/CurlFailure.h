#pragma once

#include <curl/curl.h>

#include <exception>

#include "CloudStorage/Http/Transport.h"

namespace CloudStorage::Http {

/// The failure that libcurl reported as `code`, without a message.
TransportFailure failureOf(CURLcode code);

/// The failure for an exception that was thrown before the request was sent.
TransportFailure failureOf(const std::exception_ptr& exception);

}  // namespace CloudStorage::Http
