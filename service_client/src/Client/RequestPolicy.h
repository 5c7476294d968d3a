#pragma once

#include <string>
#include <vector>

#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Http/Transport.h"

namespace CloudStorage::Client {

/// How a service's requests are authorized, and which failures a call recovers from. Each call has
/// its own object, which one thread uses.
class RequestPolicy {
 public:
  virtual ~RequestPolicy() = default;

  /// Signs `request` or adds its access token. Called before every transfer, since tokens are
  /// refreshed and signatures expire. Throws std::invalid_argument if that is impossible.
  virtual void authorize(Http::Request& request) = 0;

  /// Whether the call's requests must not run twice; see Http::Request::isSentOnce.
  virtual bool isSentOnce() const { return false; }

  /// What must not appear in an error about `request`, which was authorized, beside the secret in
  /// its authorization header.
  virtual std::vector<std::string> secretsIn(const Http::Request& /*request*/) const { return {}; }

  /// Called for every failure, before the retry strategy. Returns true if the cause was in the
  /// request itself, such as a wrong region, and is now corrected in `request` or in the state that
  /// authorize() uses. The request is then sent again immediately, as part of the same attempt.
  virtual bool recover(const Http::Response& /*response*/, const Error& /*error*/,
                       Http::Request& /*request*/) {
    return false;
  }

  /// Whether the caller goes on as planned after `error`, so that nothing has failed for the host.
  virtual bool isExpected(const Error& /*error*/) const { return false; }

  /// Sets the address of `request` to `location`, to which the service redirected it. Returns false
  /// if the request must not be sent there.
  virtual bool redirect(const std::string& /*location*/, Http::Request& /*request*/) {
    return false;
  }
};

}  // namespace CloudStorage::Client
