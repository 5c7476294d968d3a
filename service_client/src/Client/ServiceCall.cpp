#include "Client/ServiceCall.h"

#include <exception>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Auth/Digest.h"
#include "Auth/Redactor.h"
#include "Client/ErrorMarshalling.h"
#include "Http/CurlTransport.h"

namespace CloudStorage::Client {
namespace {

std::string readAll(const std::shared_ptr<std::iostream>& stream) {
  if (!stream) return {};
  stream->clear();
  stream->seekg(0);
  return {std::istreambuf_iterator<char>(*stream), std::istreambuf_iterator<char>()};
}

// The location of a redirect; null for any other error. The retry strategies grant a redirect only
// if there is a location.
const std::string* redirectLocation(const Error& error) {
  constexpr int kFirstRedirect = 300;
  constexpr int kLastRedirect = 308;
  if (error.httpResponseCode < kFirstRedirect || error.httpResponseCode > kLastRedirect) {
    return nullptr;
  }
  const auto location = error.responseHeaders.find("location");
  return location == error.responseHeaders.end() ? nullptr : &location->second;
}

Http::Response failed(Http::TransportFailure failure) {
  Http::Response response;
  response.failure = std::move(failure);
  return response;
}

Http::Response tooManyRequests() {
  const auto count = std::to_string(CallBudget::kRequests);
  return failed({Http::TransportFailure::Kind::Refused, "MalformedResponse",
                 "The call has not ended with its " + count + " requests", false});
}

// The secret in an authorization header: an access token, which may have any form, or the signature
// at the end.
std::string_view secretOf(std::string_view header) {
  constexpr std::string_view kBearer = "Bearer ";
  if (header.substr(0, kBearer.size()) == kBearer) return header.substr(kBearer.size());
  const auto lastCharacter = header.find_last_not_of('=');  // base64 may end with padding
  return header.substr(header.find_last_of(" =:", lastCharacter) + 1);
}

}  // namespace

ServiceCall::ServiceCall(const ClientParts& parts, ClientEnvironment environment)
    : service_(parts.service()),
      retryStrategy_(parts.retryStrategy),
      errorMarshaller_(parts.errorMarshaller),
      readRateLimiter_(parts.readRateLimiter),
      writeRateLimiter_(parts.writeRateLimiter),
      environment_(std::move(environment)) {
  if (!environment_.transport) {
    Http::CurlTransport::Options options;
    options.proxy = parts.proxy;
    environment_.transport = std::make_shared<Http::CurlTransport>(std::move(options));
  }
  if (!environment_.now) environment_.now = std::chrono::system_clock::now;
  if (!environment_.steadyNow) environment_.steadyNow = std::chrono::steady_clock::now;
  if (!environment_.sleep) {
    environment_.sleep = RunningCall::wait;
  }
}

Http::Response ServiceCall::transfer(const char* operation, Http::Request& request) const {
  Http::Response response = exchange(request);
  RunningCall::report(operation, 0);
  return response;
}

Http::Response ServiceCall::exchange(Http::Request& request) const {
  request.timeLimit = std::chrono::milliseconds::max();
  if (!RunningCall::takeRequest()) return tooManyRequests();
  if (writeRateLimiter_) writeRateLimiter_->acquire(request.body.size());
  Http::Response response = RunningCall::send(*environment_.transport, request);
  if (readRateLimiter_) readRateLimiter_->acquire(response.body.size());
  return response;
}

Http::Request ServiceCall::encode(Http::Method method, const Http::URI& uri,
                                  const WSRequest& model) {
  Http::Request request;
  request.method = method;
  request.uri = uri;
  model.addQueryStringParameters(request.uri);
  for (auto& [name, value] : model.getHeaders()) {
    if (!value.empty()) request.headers.emplace(name, value);
  }
  request.body = readAll(model.getBody());
  if (model.shouldComputeContentMd5()) {
    request.headers["content-md5"] = Auth::base64Encode(Auth::md5(request.body));
  }
  return request;
}

Error ServiceCall::withResponse(Error error, const Http::Response& response) {
  addResponse(error, response);
  return error;
}

// Services and proxies may quote the request in their messages.
Error ServiceCall::redacted(Error error, const Http::Request& request,
                            const RequestPolicy& policy) const {
  std::vector<std::string> secrets = environment_.transport->secrets();
  const auto authorization = request.headers.find("authorization");
  if (authorization != request.headers.end()) {
    for (std::string& secret : policy.secretsIn(request)) secrets.push_back(std::move(secret));
    secrets.emplace_back(secretOf(authorization->second));
  }
  const Auth::Redactor redactor(secrets);
  error.message = redactor.line(error.message);
  error.exceptionName = redactor.line(error.exceptionName);
  error.requestId = Util::oneLine(redactor.line(error.requestId), kRequestIdLimit);
  return error;
}

// Services and gateways respond to such requests with any of these statuses.
bool ServiceCall::isRefusalWithoutToken(const Error& error, const Http::Request& request) {
  const int status = error.httpResponseCode;
  return (status == 400 || status == 401 || status == 403) &&
         request.headers.count("authorization") == 0;
}

Error ServiceCall::errorOfCurrentException() {
  try {
    try {
      throw;
    } catch (const std::invalid_argument& fault) {  // the request cannot be encoded
      return localError("InvalidRequest", fault.what());
    } catch (const std::exception& exception) {
      return localError("InternalFailure", exception.what());
    } catch (const abi::__forced_unwind&) {
      throw;
    } catch (...) {
      return localError("InternalFailure", "unknown exception");
    }
  } catch (const std::bad_alloc&) {  // there is no memory for the texts either
    return outOfMemory();
  }
}

void ServiceCall::noteFailure(const char* operation, const Error& error) const {
  // The failure of the renewal states why the service refuses the token.
  if (error.kind == FailureKind::LinkAgain && LastFailure::explainsRefusal()) return;
  LastFailure::set(service_, operation, error);
}

bool ServiceCall::mustEnd(Error& error, Http::Method method) const {
  auto reason = RunningCall::endReason();
  if (!reason) return false;
  error = errorMarshaller_->marshall(failed(*std::move(reason)), method);
  return true;
}

bool ServiceCall::prepareRetry(Http::Request& request, RequestPolicy& policy, Error& error,
                               unsigned long retries) const {
  if (mustEnd(error, request.method)) return false;
  // Must be called exactly once per failure: the drives' strategies refresh the access token in it.
  const bool isGranted = retryStrategy_->shouldRetry(error, retries);
  if (mustEnd(error, request.method) || !isGranted) return false;
  const std::string* location = redirectLocation(error);
  if (location != nullptr && !policy.redirect(*location, request)) return false;
  const std::chrono::milliseconds delay(retryStrategy_->getDelayBeforeNextRetry(error, retries));
  if (delay >= RunningCall::timeLeft()) {
    error = errorMarshaller_->marshall(failed(RunningCall::outOfTime()), request.method);
    return false;
  }
  environment_.sleep(delay);
  return true;
}

}  // namespace CloudStorage::Client
