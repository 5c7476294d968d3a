#include "Client/S3/S3Conduct.h"

#include <algorithm>
#include <optional>

#include "Client/S3/S3Answers.h"
#include "Util/Text.h"
#include "Util/Time.h"

namespace CloudStorage::Client::S3 {
namespace {

std::string headerOrEmpty(const Http::Response& response, const char* name) {
  const auto header = response.headers.find(name);
  return header == response.headers.end() ? std::string() : header->second;
}

bool isMalformedAuthorization(const Error& error) {
  constexpr int kBadRequest = 400;
  return error.httpResponseCode == kBadRequest &&
         error.exceptionName == "AuthorizationHeaderMalformed";
}

// Whether a failure means that a bucket is in another region than the one just used.
bool speaksOfRegion(const Error& error, const std::string& usedRegion) {
  if (isMalformedAuthorization(error)) return true;
  const int code = error.httpResponseCode;
  if (code == 301 && error.exceptionName == "PermanentRedirect") return true;
  if (code != 301 && code != 302 && code != 307 && code != 400) return false;
  const auto named = error.responseHeaders.find("x-amz-bucket-region");
  return named != error.responseHeaders.end() && named->second != usedRegion;
}

std::optional<std::chrono::system_clock::time_point> serviceTime(const Http::Response& response) {
  const auto inBody = Util::parseIsoTime(errorElement(response, "ServerTime"));
  if (inBody) return inBody;
  const auto date = response.headers.find("date");
  return date == response.headers.end() ? std::nullopt : Util::parseHttpDate(date->second);
}

}  // namespace

std::string S3Knowledge::region() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return region_;
}

void S3Knowledge::setRegion(std::string region) {
  const std::lock_guard<std::mutex> lock(mutex_);
  region_ = std::move(region);
}

std::string S3Knowledge::regionOfBucket(const std::string& bucket) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto known = bucketRegions_.find(bucket);
  return known == bucketRegions_.end() ? region_ : known->second;
}

void S3Knowledge::setRegionOfBucket(const std::string& bucket, std::string region) {
  const std::lock_guard<std::mutex> lock(mutex_);
  bucketRegions_[bucket] = std::move(region);
}

void S3Conduct::authorize(Http::Request& request) {
  service_.signer.sign(request, region_, service_.call.now() + service_.knowledge.clockOffset());
}

bool S3Conduct::correct(const Http::Response& response, const Error& error, Http::Request&) {
  return correctClock(response, error);
}

bool S3Conduct::correctClock(const Http::Response& response, const Error& error) {
  if (clockCorrected_ || error.errorType != CoreErrors::ClockSkew) return false;
  const auto theirs = serviceTime(response);
  if (!theirs) return false;
  service_.knowledge.setClockOffset(
      std::chrono::duration_cast<std::chrono::seconds>(*theirs - service_.call.now()));
  clockCorrected_ = true;
  return true;
}

bool S3Conduct::follow(const std::string& location, Http::Request& request) {
  auto target = redirectedUri(service_.endpoint, request.uri, location);
  if (!target) return false;
  request.uri = *std::move(target);
  return true;
}

bool S3EndpointConduct::correct(const Http::Response& response, const Error& error,
                                Http::Request& request) {
  return correctRegion(response, error) || S3Conduct::correct(response, error, request);
}

bool S3EndpointConduct::correctRegion(const Http::Response& response, const Error& error) {
  if (regionCorrection_ == RegionCorrection::Never || !isMalformedAuthorization(error)) {
    return false;
  }
  const std::string expected = errorElement(response, "Region");
  if (!isRegionName(expected) || expected == region()) return false;
  if (regionCorrection_ == RegionCorrection::AllCalls) service().knowledge.setRegion(expected);
  regionCorrection_ = RegionCorrection::Never;
  setRegion(expected);
  return true;
}

S3BucketConduct::S3BucketConduct(S3Service service, std::string bucket, std::string key)
    : S3Conduct(service, service.knowledge.regionOfBucket(bucket)),
      bucket_(std::move(bucket)),
      key_(std::move(key)) {}

Http::URI S3BucketConduct::uri() const {
  return bucketUri(service().endpoint, region(), bucket_, key_);
}

bool S3BucketConduct::correct(const Http::Response& response, const Error& error,
                              Http::Request& request) {
  return correctRegion(response, error, request) || correctEncoding(response, error, request) ||
         S3Conduct::correct(response, error, request);
}

bool S3BucketConduct::correctRegion(const Http::Response& response, const Error& error,
                                    Http::Request& request) {
  if (regionCorrected_ || !speaksOfRegion(error, region())) return false;
  std::string actual = headerOrEmpty(response, "x-amz-bucket-region");
  if (actual.empty()) actual = errorElement(response, "Region");
  if (actual.empty()) actual = askForRegion();
  if (!isRegionName(actual) || actual == region()) return false;

  regionCorrected_ = true;
  // Where a redirect has led to, path and host belong together, and only the signature is wrong.
  const bool isRedirected = request.uri.host() != uri().host();
  service().knowledge.setRegionOfBucket(bucket_, actual);
  setRegion(std::move(actual));
  if (!isRedirected) request.uri.setHost(uri().host());
  return true;
}

// An answer that is no XML, because a key in it holds what XML cannot carry, becomes readable when
// the service is asked to encode keys.
bool S3BucketConduct::correctEncoding(const Http::Response& response, const Error& error,
                                      Http::Request& request) {
  const auto& query = request.uri.query();
  const bool isListing = std::any_of(query.begin(), query.end(), [](const auto& parameter) {
    return parameter.first == "list-type";
  });
  const std::string type = Util::lowerCase(headerOrEmpty(response, "content-type"));
  const bool isHtml = type.find("html") != std::string::npos;
  if (encodingCorrected_ || !isListing || isHtml || !response.isSuccessStatus() ||
      error.errorType != CoreErrors::LocalFailure) {
    return false;
  }
  encodingCorrected_ = true;
  request.uri.addQueryStringParameter("encoding-type", "url");
  request.uri.sortQuery();
  return true;
}

std::string S3BucketConduct::askForRegion() {
  Http::Request request;
  request.method = Http::Method::Head;
  request.uri = bucketUri(service().endpoint, region(), bucket_);
  authorize(request);
  return headerOrEmpty(service().call.transfer(request), "x-amz-bucket-region");
}

}  // namespace CloudStorage::Client::S3
