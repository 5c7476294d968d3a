#pragma once

#include <string>

#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Http/Transport.h"

namespace CloudStorage::Client {

/// How one service authorizes the requests of a call and which failures it recovers from. One object
/// a call, used by one thread.
class RequestPolicy {
 public:
  virtual ~RequestPolicy() = default;

  /// Signs `request` or adds its access token. Called before every transfer, since tokens are
  /// refreshed and signatures expire. Throws std::invalid_argument if that is impossible.
  virtual void authorize(Http::Request& request) = 0;

  /// Called with every failure before the retry strategy is. True if the cause lay in the request
  /// itself, such as a wrong region, and is now corrected in `request` or in what authorize() uses:
  /// the request is sent again at once, as part of the same attempt.
  virtual bool recover(const Http::Response& /*response*/, const Error& /*error*/,
                       Http::Request& /*request*/) {
    return false;
  }

  /// Changes `request` to go to `location`, to which the service redirected it. False if it must not
  /// go there.
  virtual bool redirect(const std::string& /*location*/, Http::Request& /*request*/) {
    return false;
  }
};

}  // namespace CloudStorage::Client
