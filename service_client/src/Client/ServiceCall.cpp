#include "Client/ServiceCall.h"

#include <exception>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>

#include "Auth/Digest.h"
#include "Client/ErrorMarshalling.h"
#include "Http/CurlTransport.h"
#include "Util/Text.h"

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

}  // namespace

ServiceCall::ServiceCall(const ClientParts& parts, ClientEnvironment environment)
    : retryStrategy_(parts.retryStrategy),
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
  if (!environment_.sleep) {
    environment_.sleep = [](std::chrono::milliseconds delay) {
      std::this_thread::sleep_for(delay);
    };
  }
}

Http::Response ServiceCall::transfer(const Http::Request& request) const {
  if (writeRateLimiter_) writeRateLimiter_->acquire(request.body.size());
  Http::Response response = environment_.transport->send(request);
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
  error.httpResponseCode = response.status;
  error.responseHeaders = response.headers;
  return error;
}

// Services and proxies may quote the request in their messages. The secret is the last word of the
// header: a token or a signature.
Error ServiceCall::redacted(Error error, const Http::Request& request) {
  const auto authorization = request.headers.find("authorization");
  if (authorization == request.headers.end()) return error;
  const std::string_view header = authorization->second;
  const auto lastCharacter = header.find_last_not_of('=');  // base64 may end with padding
  const std::string_view secret = header.substr(header.find_last_of(" =:", lastCharacter) + 1);
  Util::redact(error.message, secret);
  Util::redact(error.exceptionName, secret);
  return error;
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

bool ServiceCall::prepareRetry(Http::Request& request, RequestPolicy& policy, const Error& error,
                               unsigned long retries) const {
  // Must be called exactly once per failure: the drives' strategies refresh the access token in it.
  if (!retryStrategy_->shouldRetry(error, retries)) return false;
  const std::string* location = redirectLocation(error);
  if (location != nullptr && !policy.redirect(*location, request)) return false;
  environment_.sleep(
      std::chrono::milliseconds(retryStrategy_->getDelayBeforeNextRetry(error, retries)));
  return true;
}

}  // namespace CloudStorage::Client
