#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "CloudStorage/Client/WSClient.h"
#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Client/WSRequest.h"
#include "CloudStorage/Http/Transport.h"
#include "CloudStorage/Util/Outcome.h"

namespace CloudStorage::Client {

/// What a service does to the attempts of one call. One object a call, used by one thread.
class AttemptConduct {
 public:
  virtual ~AttemptConduct() = default;

  /// Signs `request` or gives it its token. Asked before every send, since tokens are refreshed and
  /// signatures age.
  virtual void authorize(Http::Request& request) = 0;

  /// Sees a failure before the retry strategy does. True: the cause lay in how the request was
  /// made, and is mended in `request` or in what authorize() uses; it is sent again at once, as
  /// part of the same attempt.
  virtual bool correct(const Http::Response& /*response*/, const Error& /*error*/,
                       Http::Request& /*request*/) {
    return false;
  }

  /// Points `request` at `location`, to which the service redirected it. False: it must not go
  /// there.
  virtual bool follow(const std::string& /*location*/, Http::Request& /*request*/) { return false; }
};

/// One request of a client from encoding to outcome: the attempt loop. Knows nothing of any
/// service, and throws nothing.
class ServiceCall {
 public:
  /// Takes the answer, whose status says success, to pieces; an error if it is not what the
  /// operation promises. Status and headers of the error are filled in by the caller.
  template <typename Result>
  using Parser = std::optional<Error> (*)(Http::Response& response, Result& result);

  /// What `environment` leaves open becomes the real thing.
  ServiceCall(const ClientParts& parts, ClientEnvironment environment);

  /// Sends `model` to `uri`, again as often as the retry strategy grants it, and parses the answer.
  template <typename Result>
  Util::Outcome<Result, Error> send(Http::Method method, const Http::URI& uri,
                                    const WSRequest& model, AttemptConduct& conduct,
                                    Parser<Result> parse) const {
    Result result;
    auto error = run(method, uri, model, conduct, [&result, parse](Http::Response& response) {
      result = {};  // an answer that was refused half-way may have left something
      return parse(response, result);
    });
    if (error) return *std::move(error);
    return Util::Outcome<Result, Error>(std::move(result));
  }

  std::chrono::system_clock::time_point now() const { return environment_.now(); }
  /// One request as it stands, once: for what a conduct has to ask on the side.
  Http::Response transfer(const Http::Request& request) const;

 private:
  using Accept = std::function<std::optional<Error>(Http::Response&)>;

  std::optional<Error> run(Http::Method method, const Http::URI& uri, const WSRequest& model,
                           AttemptConduct& conduct, const Accept& accept) const;
  std::optional<Error> repeat(Http::Request request, bool authorized, AttemptConduct& conduct,
                              const Accept& accept) const;
  std::optional<Error> attempt(Http::Request& request, bool authorized, AttemptConduct& conduct,
                               const Accept& accept) const;
  std::optional<Error> judge(Http::Response& response, Http::Method method,
                             const Accept& accept) const;

  std::shared_ptr<RetryStrategy> retryStrategy_;
  std::shared_ptr<WSErrorMarshaller> errorMarshaller_;
  std::shared_ptr<Util::RateLimiter> readRateLimiter_;
  std::shared_ptr<Util::RateLimiter> writeRateLimiter_;
  ClientEnvironment environment_;
};

}  // namespace CloudStorage::Client
