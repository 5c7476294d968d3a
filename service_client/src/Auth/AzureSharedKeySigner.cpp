#include "Auth/AzureSharedKeySigner.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "Auth/Digest.h"
#include "Http/PercentEncoding.h"
#include "Util/Text.h"
#include "Util/Time.h"

namespace CloudStorage::Auth::AzureSharedKey {
namespace {

// The signed headers, in the order in which they are signed. The length is empty if there is no
// body. The date is empty, because `x-ms-date` is always sent.
constexpr const char* kSignedBeforeLength[] = {"content-encoding", "content-language"};
constexpr const char* kSignedAfterLength[] = {
    "content-md5",   "content-type",        "date", "if-modified-since", "if-match",
    "if-none-match", "if-unmodified-since", "range"};

std::string headerOrEmpty(const Http::Request& request, const char* name) {
  const auto header = request.headers.find(name);
  return header == request.headers.end() ? std::string() : header->second;
}

std::string canonicalHeaders(const Http::Request& request) {
  std::string text;
  for (const auto& [name, value] : request.headers) {  // the map is ordered by name
    if (name.compare(0, 5, "x-ms-") != 0) continue;
    text.append(name).append(":").append(value).append("\n");
  }
  return text;
}

std::string canonicalResource(const Http::Request& request, const std::string& accountName) {
  std::vector<std::pair<std::string, std::string>> parameters;
  for (const auto& [name, value] : request.uri.query()) {
    parameters.emplace_back(Util::lowerCase(Http::uriDecode(name)), Http::uriDecode(value));
  }
  std::sort(parameters.begin(), parameters.end());

  std::string text = '/' + accountName + (request.uri.path().empty() ? "/" : request.uri.path());
  const std::string* previous = nullptr;
  for (const auto& [name, value] : parameters) {
    // A repeated parameter becomes one line with all its values.
    if (previous != nullptr && *previous == name) {
      text.append(",").append(value);
    } else {
      text.append("\n").append(name).append(":").append(value);
    }
    previous = &name;
  }
  return text;
}

}  // namespace

std::string stringToSign(const Http::Request& request, const std::string& accountName) {
  std::string text = std::string(Http::methodName(request.method)) + '\n';
  for (const char* name : kSignedBeforeLength) text += headerOrEmpty(request, name) + '\n';
  text += request.body.empty() ? "\n" : std::to_string(request.body.size()) + '\n';
  for (const char* name : kSignedAfterLength) text += headerOrEmpty(request, name) + '\n';
  return text + canonicalHeaders(request) + canonicalResource(request, accountName);
}

void sign(Http::Request& request, const AzureSSBAuthentication& authentication,
          std::chrono::system_clock::time_point now) {
  request.headers["x-ms-date"] = Util::formatHttpDate(now);
  request.headers["x-ms-version"] = kVersion;
  const std::string signature = base64Encode(
      hmacSha256(authentication.decodedKey(), stringToSign(request, authentication.accountName())));
  request.headers["authorization"] = "SharedKey " + authentication.accountName() + ':' + signature;
}

}  // namespace CloudStorage::Auth::AzureSharedKey
