#include "Client/S3/S3Conduct.h"

#include <cstdlib>
#include <optional>

#include "Util/Time.h"
#include "Util/Xml.h"

namespace CloudStorage::Client::S3 {
namespace {

// One element of an error document; empty if the answer is none or lacks the element.
std::string errorElement(const Http::Response& response, const char* name) {
  std::string body = response.body;
  pugi::xml_document document;
  if (!Util::Xml::parse(body, document).isSuccess()) return {};
  return Util::Xml::text(Util::Xml::child(document.document_element(), name));
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

void S3Conduct::authorize(Http::Request& request) {
  service_.signer.sign(request, region_, service_.call.now() + service_.knowledge.clockOffset());
}

bool S3Conduct::correct(const Http::Response& response, const Error& error, Http::Request&) {
  return correctRegion(response, error) || correctClock(response, error);
}

bool S3Conduct::correctRegion(const Http::Response& response, const Error& error) {
  constexpr int kBadRequest = 400;
  if (regionCorrection_ == RegionCorrection::Never) return false;
  if (error.httpResponseCode != kBadRequest ||
      error.exceptionName != "AuthorizationHeaderMalformed") {
    return false;
  }
  const std::string expected = errorElement(response, "Region");
  if (!isRegionName(expected) || expected == region_) return false;
  if (regionCorrection_ == RegionCorrection::AllCalls) service_.knowledge.setRegion(expected);
  regionCorrection_ = RegionCorrection::Never;
  region_ = expected;
  return true;
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

}  // namespace CloudStorage::Client::S3
