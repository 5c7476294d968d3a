#include "Auth/AWSV4Signer.h"

#include <array>
#include <ctime>

#include "Auth/Digest.h"

namespace CloudStorage::Auth {
namespace {

constexpr char kAlgorithm[] = "AWS4-HMAC-SHA256";
constexpr char kTerminator[] = "aws4_request";
constexpr std::size_t kDateSize = 8;  // yyyymmdd

// The SHA-256 of an empty body: most requests have none.
constexpr char kEmptyPayloadHash[] =
    "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

// The other headers are not signed, because proxies may change them.
bool isSigned(std::string_view name) {
  return name == "host" || name == "content-type" || name == "content-md5" ||
         name.substr(0, 6) == "x-amz-";
}

std::string collapseSpaces(std::string_view value) {
  std::string text;
  for (const char c : value) {
    if (c != ' ' && c != '\t') {
      text += c;
    } else if (!text.empty() && text.back() != ' ') {
      text += ' ';
    }
  }
  if (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

std::string canonicalQuery(const Http::URI& uri) {
  Http::URI sorted = uri;
  sorted.sortQuery();
  return sorted.queryText();
}

}  // namespace

namespace AWSV4 {

std::string timestamp(std::chrono::system_clock::time_point now) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  std::array<char, 17> text{};
  std::strftime(text.data(), text.size(), "%Y%m%dT%H%M%SZ", &utc);  // independent of the locale
  return text.data();
}

std::string canonicalRequest(const Http::Request& request, std::string_view payloadHash,
                             std::string& signedHeaders) {
  std::string headers;
  signedHeaders.clear();
  for (const auto& [name, value] : request.headers) {  // the map is ordered by name
    if (value.empty() || !isSigned(name)) continue;
    headers += name + ':' + collapseSpaces(value) + '\n';
    if (!signedHeaders.empty()) signedHeaders += ';';
    signedHeaders += name;
  }

  std::string text = Http::methodName(request.method);
  text += '\n';
  text += request.uri.path().empty() ? "/" : request.uri.path();
  text += '\n';
  text += canonicalQuery(request.uri);
  text += '\n';
  text += headers;
  text += '\n';
  text += signedHeaders;
  text += '\n';
  text += payloadHash;
  return text;
}

std::string credentialScope(std::string_view timestamp, std::string_view region,
                            std::string_view service) {
  std::string scope(timestamp.substr(0, kDateSize));
  for (const std::string_view part : {region, service, std::string_view(kTerminator)}) {
    scope += '/';
    scope += part;
  }
  return scope;
}

std::string stringToSign(std::string_view timestamp, std::string_view scope,
                         std::string_view canonicalRequest) {
  std::string text = kAlgorithm;
  for (const std::string_view part : {timestamp, scope}) {
    text += '\n';
    text += part;
  }
  return text + '\n' + hex(sha256(canonicalRequest));
}

SigningKey deriveSigningKey(std::string_view secretKey, std::string_view date,
                            std::string_view region, std::string_view service) {
  SigningKey key;
  key.date = hmacSha256("AWS4" + std::string(secretKey), date);
  key.region = hmacSha256(key.date, region);
  key.service = hmacSha256(key.region, service);
  key.signing = hmacSha256(key.service, kTerminator);
  return key;
}

}  // namespace AWSV4

void AWSV4Signer::sign(Http::Request& request, const std::string& region,
                       std::chrono::system_clock::time_point now) {
  const std::string timestamp = AWSV4::timestamp(now);
  const std::string payloadHash =
      request.body.empty() ? kEmptyPayloadHash : hex(sha256(request.body));
  request.headers["host"] = request.uri.authority();
  request.headers["x-amz-date"] = timestamp;
  request.headers["x-amz-content-sha256"] = payloadHash;

  std::string signedHeaders;
  const std::string canonical = AWSV4::canonicalRequest(request, payloadHash, signedHeaders);
  const std::string scope = AWSV4::credentialScope(timestamp, region, credential_->serviceName());
  const std::string key = signingKey(region, timestamp.substr(0, kDateSize));
  const std::string signature =
      hex(hmacSha256(key, AWSV4::stringToSign(timestamp, scope, canonical)));

  request.headers["authorization"] =
      std::string(kAlgorithm) + " Credential=" + credential_->accessKey() + '/' + scope +
      ", SignedHeaders=" + signedHeaders + ", Signature=" + signature;
}

std::string AWSV4Signer::stringToSign(const Http::Request& request,
                                      const std::string& region) const {
  const std::string& timestamp = request.headers.at("x-amz-date");
  std::string signedHeaders;
  return AWSV4::stringToSign(
      timestamp, AWSV4::credentialScope(timestamp, region, credential_->serviceName()),
      AWSV4::canonicalRequest(request, request.headers.at("x-amz-content-sha256"), signedHeaders));
}

unsigned AWSV4Signer::keyDerivations() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return keyDerivations_;
}

std::string AWSV4Signer::signingKey(const std::string& region, std::string_view date) {
  const std::lock_guard<std::mutex> lock(mutex_);
  DatedKey& cached = keys_[region];
  if (cached.date != date) {
    cached.key =
        AWSV4::deriveSigningKey(credential_->secretKey(), date, region, credential_->serviceName())
            .signing;
    cached.date = date;
    ++keyDerivations_;
  }
  return cached.key;
}

}  // namespace CloudStorage::Auth
