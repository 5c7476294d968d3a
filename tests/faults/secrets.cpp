#include "secrets.h"

#include <algorithm>
#include <cctype>

#include "Auth/Digest.h"
#include "Http/PercentEncoding.h"

namespace Faults {
namespace {

std::string secretOfHeader(const std::string& authorization) {
  constexpr std::string_view kBearer = "Bearer ";
  if (authorization.compare(0, kBearer.size(), kBearer) == 0) {
    return authorization.substr(kBearer.size());
  }
  const auto signature = authorization.find("Signature=");  // of S3
  if (signature != std::string::npos) return authorization.substr(signature + 10);
  return authorization.substr(authorization.find(':') + 1);  // of Azure
}

std::string formValue(const std::string& form, const std::string& name) {
  const auto start = ('&' + form).find('&' + name + '=');
  if (start == std::string::npos) return {};
  const auto value = form.substr(start + name.size() + 1);
  return CloudStorage::Http::uriDecode(value.substr(0, value.find('&')));
}

std::string plain(std::string_view secret) { return std::string(secret); }

std::string percentEncoded(std::string_view secret) {
  return CloudStorage::Http::uriEncode(secret, false);
}

std::string percentEncodedInLowerCase(std::string_view secret) {
  std::string text = percentEncoded(secret);
  for (std::size_t at = text.find('%'); at != std::string::npos; at = text.find('%', at + 1)) {
    for (std::size_t digit = at + 1; digit < at + 3; ++digit) {
      text[digit] = static_cast<char>(std::tolower(text[digit]));
    }
  }
  return text;
}

std::string jsonEscaped(std::string_view secret) {
  std::string text;
  for (const char character : secret) {
    if (character == '/') text += '\\';
    text += character == '+' ? "\\u002b" : std::string(1, character);
  }
  return text;
}

std::string inBase64(std::string_view secret) { return CloudStorage::Auth::base64Encode(secret); }

}  // namespace

std::vector<std::string> secretsOf(const CloudStorage::Http::Request& request) {
  std::vector<std::string> secrets;
  const auto authorization = request.headers.find("authorization");
  if (authorization != request.headers.end()) {
    secrets.push_back(secretOfHeader(authorization->second));
  }
  for (const char* name : {"client_secret", "refresh_token"}) {
    secrets.push_back(formValue(request.body, name));
  }
  secrets.erase(std::remove(secrets.begin(), secrets.end(), ""), secrets.end());
  return secrets;
}

const std::vector<Writing>& writings() {
  static const std::vector<Writing> all = {{"Plain", plain},
                                           {"PercentEncoded", percentEncoded},
                                           {"PercentEncodedInLowerCase", percentEncodedInLowerCase},
                                           {"JsonEscaped", jsonEscaped},
                                           {"Base64", inBase64}};
  return all;
}

}  // namespace Faults
