#pragma once

#include <cxxabi.h>

#include <chrono>
#include <memory>
#include <type_traits>
#include <utility>

#include "Client/LastFailure.h"
#include "Client/Operation.h"
#include "Client/RequestPolicy.h"
#include "Client/RunningCall.h"
#include "CloudStorage/Client/CallBudget.h"
#include "CloudStorage/Client/WSClient.h"
#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Client/WSRequest.h"
#include "CloudStorage/Http/Transport.h"
#include "CloudStorage/Http/URI.h"
#include "CloudStorage/Util/Outcome.h"

namespace CloudStorage::Client {

/// Sends the requests of one client: encoding, authorization, retries, parsing. Independent of any
/// service, and safe for concurrent calls.
class ServiceCall {
 public:
  /// The return type of a parser: a callable, such as `Outcome<Result, Error>(Http::Response&&)`,
  /// that returns the result in a response with a success status, or the error if there is none. It
  /// takes the body and leaves status and headers, which send() copies into the error.
  template <typename Parse>
  using OutcomeOf = std::invoke_result_t<const Parse&, Http::Response&&>;

  /// Members of `environment` that are null are replaced by the real ones.
  ServiceCall(const ClientParts& parts, ClientEnvironment environment);

  /// Sends `model` to the address that `locate` returns, with the retries that the retry strategy
  /// grants, and parses the response. Does not throw.
  template <typename Locate, typename Parse>
  OutcomeOf<Parse> send(const Operation& operation, const Locate& locate, const WSRequest& model,
                        RequestPolicy& policy, const Parse& parse) const {
    const auto isFailure = [&](const Error& error) { return !policy.isExpected(error); };
    const auto work = [&]() -> OutcomeOf<Parse> {
      CallBudget ownBudget;
      const RunningCall call(model.budget != nullptr ? *model.budget : ownBudget,
                             environment_.steadyNow, service_);
      const Util::Outcome<Http::URI, Error> uri = locate();
      if (!uri.isSuccess()) return uri.getError();
      Http::Request request = encode(operation.method, uri.getResult(), model);
      request.isSentOnce = policy.isSentOnce();
      for (unsigned long retries = 0;; ++retries) {
        auto outcome = attempt(operation, request, model.doesRequireAuthorization(), policy, parse);
        if (outcome.isSuccess()) return outcome;
        Error error = std::move(outcome).getError();
        if (!prepareRetry(request, policy, error, retries)) return error;
      }
    };
    return runNoting(isFailure, operation.name, work);
  }

  /// The layer's only exception barrier: the outcome of `work`, or the error for the exception that
  /// it throws.
  template <typename Work>
  static std::invoke_result_t<Work> guarded(const Work& work) {
    try {
      return work();
    } catch (const abi::__forced_unwind&) {  // the thread is cancelled; unwinding must continue
      throw;
    } catch (...) {
      return errorOfCurrentException();
    }
  }

  /// The outcome of `work`, which is the whole or a part of the operation with this name, like
  /// guarded(). Its failure becomes the last one of the thread, unless the thread could not renew
  /// the token that the service refuses: then the failure of the renewal stays the last one.
  template <typename Work>
  std::invoke_result_t<Work> run(const char* operation, const Work& work) const {
    return runNoting([](const Error& /*error*/) { return true; }, operation, work);
  }

  /// The error for the exception that is being handled.
  static Error errorOfCurrentException();

  std::chrono::system_clock::time_point now() const { return environment_.now(); }
  /// Sends `request` once, with the limits of the running call, as part of `operation`. For the
  /// requests that a policy sends itself.
  Http::Response transfer(const char* operation, Http::Request& request) const;

 private:
  /// Like run(), but only what `isFailure` names becomes the last failure.
  template <typename IsFailure, typename Work>
  std::invoke_result_t<Work> runNoting(const IsFailure& isFailure, const char* operation,
                                       const Work& work) const {
    LastFailure::ceaseToExplain();
    auto outcome = guarded(work);
    if (!outcome.isSuccess() && isFailure(outcome.getError())) {
      noteFailure(operation, outcome.getError());
    }
    return outcome;
  }

  /// A policy recovers from each cause once; the limit ensures that an attempt ends.
  static constexpr int kMaxRecoveries = 3;

  template <typename Parse>
  OutcomeOf<Parse> attempt(const Operation& operation, Http::Request& request, bool isAuthorized,
                           RequestPolicy& policy, const Parse& parse) const {
    for (int recoveries = 0;; ++recoveries) {
      Http::Request authorized = request;
      if (isAuthorized) policy.authorize(authorized);
      Http::Response response = exchange(authorized);
      auto outcome = read(response, request.method, parse);
      RunningCall::report(operation.name,
                          outcome.isSuccess() ? entriesIn(outcome.getResult(), 0) : 0);
      if (outcome.isSuccess()) return outcome;

      Error error = redacted(std::move(outcome).getError(), authorized, policy);
      if (isAuthorized && isRefusalWithoutToken(error, authorized)) {
        error.kind = FailureKind::LinkAgain;
      }
      if (recoveries == kMaxRecoveries || !policy.recover(response, error, request)) return error;
    }
  }

  template <typename Parse>
  OutcomeOf<Parse> read(Http::Response& response, Http::Method method, const Parse& parse) const {
    if (!response.isSuccessStatus()) return errorMarshaller_->marshall(response, method);
    auto outcome = parse(static_cast<Http::Response&&>(response));  // takes only the body
    if (outcome.isSuccess()) return outcome;
    return withResponse(std::move(outcome).getError(), response);
  }

  /// The number of entries in `result`. The first form is preferred; it exists only for listings.
  template <typename Result>
  static auto entriesIn(const Result& result, int /*preferred*/) -> decltype(result.entryCount()) {
    return result.entryCount();
  }
  template <typename Result>
  static std::size_t entriesIn(const Result& /*result*/, long /*otherwise*/) {
    return 0;
  }

  Http::Response exchange(Http::Request& request) const;
  static Http::Request encode(Http::Method method, const Http::URI& uri, const WSRequest& model);
  /// `error` with the status and the headers of the response that caused it.
  static Error withResponse(Error error, const Http::Response& response);
  /// `error` with texts of one line each, without the secrets of the transport and of `request`,
  /// which `policy` has authorized.
  Error redacted(Error error, const Http::Request& request, const RequestPolicy& policy) const;
  /// Whether `error` is the refusal of a request that should have a token and was sent without one,
  /// because there is none or it could not be renewed. Its code says nothing else about the
  /// account.
  static bool isRefusalWithoutToken(const Error& error, const Http::Request& request);
  void noteFailure(const char* operation, const Error& error) const;
  /// Whether the call must end now. If so, `error` becomes the error that states why.
  bool mustEnd(Error& error, Http::Method method) const;
  /// Whether `request` is to be retried. If so, waits for the delay and sets the address to which
  /// the service redirected the request. If the call must end, `error` becomes the error that
  /// states so.
  bool prepareRetry(Http::Request& request, RequestPolicy& policy, Error& error,
                    unsigned long retries) const;

  Service service_;
  std::shared_ptr<RetryStrategy> retryStrategy_;
  std::shared_ptr<WSErrorMarshaller> errorMarshaller_;
  std::shared_ptr<Util::RateLimiter> readRateLimiter_;
  std::shared_ptr<Util::RateLimiter> writeRateLimiter_;
  ClientEnvironment environment_;
};

}  // namespace CloudStorage::Client
