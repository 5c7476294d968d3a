#include "Client/S3/S3RequestPolicy.h"

#include <optional>
#include <utility>

#include "Client/ResponseChecks.h"
#include "Http/HeaderChecks.h"
#include "Util/Time.h"
#include "Util/Xml.h"

namespace CloudStorage::Client::S3 {
namespace {

constexpr char kRegionHeader[] = "x-amz-bucket-region";

// The text of one element of an error document; empty if the response is not an error document or
// lacks the element.
std::string errorElement(const Http::Response& response, const char* name) {
  std::string body = response.body;
  pugi::xml_document document;
  if (!Util::Xml::parse(body, document).isSuccess()) return {};
  return Util::Xml::text(Util::Xml::child(document.document_element(), name));
}

std::string headerOrEmpty(const Http::Response& response, const char* name) {
  const auto header = response.headers.find(name);
  return header == response.headers.end() ? std::string() : header->second;
}

bool isMalformedAuthorization(const Error& error) {
  constexpr int kBadRequest = 400;
  return error.httpResponseCode == kBadRequest &&
         error.exceptionName == "AuthorizationHeaderMalformed";
}

// Whether a failure can mean that the bucket is in a region other than the one that was used.
bool indicatesOtherRegion(const Error& error, const std::string& usedRegion) {
  if (isMalformedAuthorization(error)) return true;
  const int code = error.httpResponseCode;
  if (code == 301 && error.exceptionName == "PermanentRedirect") return true;
  if (code != 301 && code != 302 && code != 307 && code != 400) return false;
  const auto stated = error.responseHeaders.find(kRegionHeader);
  return stated != error.responseHeaders.end() && stated->second != usedRegion;
}

std::optional<std::chrono::system_clock::time_point> serviceTime(const Http::Response& response) {
  const auto inBody = Util::parseIsoTime(errorElement(response, "ServerTime"));
  if (inBody) return inBody;
  const auto date = response.headers.find("date");
  return date == response.headers.end() ? std::nullopt : Util::parseHttpDate(date->second);
}

}  // namespace

void S3RequestPolicy::authorize(Http::Request& request) {
  service_.signer.sign(request, region_, service_.call.now() + service_.clock.offset());
}

std::vector<std::string> S3RequestPolicy::secretsIn(const Http::Request& request) const {
  return {service_.signer.stringToSign(request, region_)};
}

bool S3RequestPolicy::recover(const Http::Response& response, const Error& error, Http::Request&) {
  return recoverClock(response, error);
}

bool S3RequestPolicy::recoverClock(const Http::Response& response, const Error& error) {
  if (clockRecovered_ || error.errorType != CoreErrors::ClockSkew) return false;
  const auto theirs = serviceTime(response);
  if (!theirs) return false;
  service_.clock.setOffset(
      std::chrono::duration_cast<std::chrono::seconds>(*theirs - service_.call.now()));
  clockRecovered_ = true;
  return true;
}

bool S3RequestPolicy::redirect(const std::string& location, Http::Request& request) {
  auto target = redirectedUri(service_.endpoint, request.uri, location);
  if (!target) return false;
  request.uri = *std::move(target);
  return true;
}

bool S3EndpointPolicy::recover(const Http::Response& response, const Error& error,
                               Http::Request& request) {
  return recoverRegion(response, error) || S3RequestPolicy::recover(response, error, request);
}

bool S3EndpointPolicy::recoverRegion(const Http::Response& response, const Error& error) {
  if (regionRecovery_ == RegionRecovery::Never || !isMalformedAuthorization(error)) {
    return false;
  }
  const std::string expected = errorElement(response, "Region");
  if (!isRegionName(expected) || expected == region()) return false;
  if (regionRecovery_ == RegionRecovery::AllCalls) service().regions.setRegion(expected);
  regionRecovery_ = RegionRecovery::Never;
  setRegion(expected);
  return true;
}

S3BucketPolicy::S3BucketPolicy(S3Service service, std::string bucket, std::string key)
    : S3RequestPolicy(service, service.regions.regionOfBucket(bucket)),
      bucket_(std::move(bucket)),
      key_(std::move(key)) {}

Http::URI S3BucketPolicy::uri() const {
  return bucketUri(service().endpoint, region(), bucket_, key_);
}

bool S3BucketPolicy::recover(const Http::Response& response, const Error& error,
                             Http::Request& request) {
  return recoverRegion(response, error, request) ||
         S3RequestPolicy::recover(response, error, request);
}

bool S3BucketPolicy::recoverRegion(const Http::Response& response, const Error& error,
                                   Http::Request& request) {
  if (regionRecovered_ || !indicatesOtherRegion(error, region())) return false;
  std::string actual = regionOf(response);
  if (actual.empty()) return false;

  regionRecovered_ = true;
  // After a redirect host and path belong together, so only the signature is corrected.
  const bool isRedirected = request.uri.host() != uri().host();
  service().regions.setRegionOfBucket(bucket_, actual);
  setRegion(std::move(actual));
  if (!isRedirected) request.uri.setHost(uri().host());
  return true;
}

// The first source that names another region, of those that need no request before the one that
// does; empty if none does.
std::string S3BucketPolicy::regionOf(const Http::Response& response) {
  for (const auto& stated :
       {headerOrEmpty(response, kRegionHeader), errorElement(response, "Region")}) {
    if (isOtherRegion(stated)) return stated;
  }
  if (regionRequested_) return {};
  regionRequested_ = true;
  const std::string received = requestRegion();
  return isOtherRegion(received) ? received : std::string();
}

bool S3BucketPolicy::isOtherRegion(const std::string& text) const {
  return isRegionName(text) && text != region();
}

std::string S3BucketPolicy::requestRegion() {
  Http::Request request;
  request.method = Http::Method::Head;
  request.uri = bucketUri(service().endpoint, region(), bucket_);
  authorize(request);
  return headerOrEmpty(service().call.transfer("headBucket", request), kRegionHeader);
}

bool S3ListingPolicy::recover(const Http::Response& response, const Error& error,
                              Http::Request& request) {
  const bool wasXml = std::exchange(isXml_, true);
  if (wasXml || encodingRecovered_ || !isWholeResult(response) || Http::isHtml(response)) {
    return S3BucketPolicy::recover(response, error, request);
  }
  encodingRecovered_ = true;
  request.uri.addQueryStringParameter("encoding-type", "url");
  request.uri.sortQuery();
  return true;
}

}  // namespace CloudStorage::Client::S3
