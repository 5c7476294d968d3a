#include "Client/ServiceCall.h"

#include <iterator>
#include <string_view>
#include <thread>
#include <utility>

#include "Auth/Digest.h"
#include "Client/ErrorMarshalling.h"
#include "Client/Guarded.h"
#include "Http/CurlTransport.h"
#include "Util/Text.h"

namespace CloudStorage::Client {
namespace {

// A conduct mends each thing once; more of it would be an endless quarrel with the service.
constexpr int kMaxCorrections = 3;

std::string readAll(const std::shared_ptr<std::iostream>& stream) {
  if (!stream) return {};
  stream->clear();
  stream->seekg(0);
  return {std::istreambuf_iterator<char>(*stream), std::istreambuf_iterator<char>()};
}

Http::Request encode(Http::Method method, const Http::URI& uri, const WSRequest& model) {
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

// Services and what stands before them may repeat in their texts what they were sent. The last word
// of the header is the secret one: a token or a signature.
void removeSecrets(Error& error, const Http::Request& request) {
  const auto authorization = request.headers.find("authorization");
  if (authorization == request.headers.end()) return;
  const std::string_view header = authorization->second;
  const auto lastCharacter = header.find_last_not_of('=');  // base64 may end with padding
  const std::string_view secret = header.substr(header.find_last_of(" =:", lastCharacter) + 1);
  Util::blackOut(error.message, secret);
  Util::blackOut(error.exceptionName, secret);
}

// The strategies grant a redirect only if there is somewhere to go.
const std::string* redirectTarget(const Error& error) {
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

std::optional<Error> ServiceCall::run(Http::Method method, const Http::URI& uri,
                                      const WSRequest& model, AttemptConduct& conduct,
                                      const Accept& accept) const {
  return guarded([&] {
    return repeat(encode(method, uri, model), model.doesRequireAuthorization(), conduct, accept);
  });
}

std::optional<Error> ServiceCall::repeat(Http::Request request, bool authorized,
                                         AttemptConduct& conduct, const Accept& accept) const {
  for (unsigned long attemptedRetries = 0;; ++attemptedRetries) {
    auto error = attempt(request, authorized, conduct, accept);
    // Asked exactly once a failure: the drive strategies refresh the token when they are asked.
    if (!error || !retryStrategy_->shouldRetry(*error, attemptedRetries)) return error;
    const std::string* target = redirectTarget(*error);
    if (target != nullptr && !conduct.follow(*target, request)) return error;
    environment_.sleep(std::chrono::milliseconds(
        retryStrategy_->getDelayBeforeNextRetry(*error, attemptedRetries)));
  }
}

std::optional<Error> ServiceCall::attempt(Http::Request& request, bool authorized,
                                          AttemptConduct& conduct, const Accept& accept) const {
  for (int corrections = 0;; ++corrections) {
    Http::Request attempted = request;
    if (authorized) conduct.authorize(attempted);
    Http::Response response = transfer(attempted);
    auto error = judge(response, request.method, accept);
    if (error) removeSecrets(*error, attempted);
    if (!error || corrections == kMaxCorrections || !conduct.correct(response, *error, request)) {
      return error;
    }
  }
}

std::optional<Error> ServiceCall::judge(Http::Response& response, Http::Method method,
                                        const Accept& accept) const {
  if (!response.isSuccessStatus()) return errorMarshaller_->marshall(response, method);
  auto error = accept(response);
  if (error) {
    error->httpResponseCode = response.status;
    error->responseHeaders = response.headers;
  }
  return error;
}

Http::Response ServiceCall::transfer(const Http::Request& request) const {
  if (writeRateLimiter_) writeRateLimiter_->acquire(request.body.size());
  Http::Response response = environment_.transport->send(request);
  if (readRateLimiter_) readRateLimiter_->acquire(response.body.size());
  return response;
}

}  // namespace CloudStorage::Client
