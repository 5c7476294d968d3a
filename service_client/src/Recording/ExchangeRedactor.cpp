#include "Recording/ExchangeRedactor.h"

#include <simdjson.h>

#include <algorithm>
#include <cstddef>
#include <utility>

#include "Http/PercentEncoding.h"
#include "Recording/EmailAddresses.h"
#include "Util/Json.h"
#include "Util/JsonEscapes.h"

namespace CloudStorage::Recording {
namespace {

using Secrets = std::vector<std::string>;

/// A shorter text may be anywhere by chance, and is still redacted where its name is known. A
/// longer one is no token, and searching for it is expensive.
constexpr std::size_t kShortest = 6;
constexpr std::size_t kLongest = std::size_t{16} << 10U;
/// A service could otherwise make the search arbitrarily expensive.
constexpr std::size_t kMostOfOneText = 32;

void add(std::string secret, Secrets& secrets) {
  if (secret.size() < kShortest || secret.size() > kLongest) return;
  if (std::find(secrets.begin(), secrets.end(), secret) != secrets.end()) return;
  secrets.push_back(std::move(secret));
}

std::string decodedFromJson(std::string_view text) {
  std::string buffer(text);  // is decoded in place
  std::string_view decoded = buffer;
  try {
    Util::Json::decodeEscapes(decoded);
  } catch (const simdjson::simdjson_error&) {
    return {};
  }
  return std::string(decoded);
}

void addFields(std::string_view text, TextKind kind, Secrets& secrets) {
  std::size_t count = 0;
  for (const auto& field : secretFields(text, kind)) {
    if (++count > kMostOfOneText) return;
    const std::string value(text.substr(field.begin, field.size));
    if (value.find('%') != std::string::npos) add(Http::uriDecode(value), secrets);
    if (value.find('\\') != std::string::npos) add(decodedFromJson(value), secrets);
    add(value, secrets);
  }
}

// A token or a password follows the scheme; a signature has its key before it.
void addAuthorization(const Http::Request& request, Secrets& lasting, Secrets& secrets) {
  const auto header = request.headers.find("authorization");
  if (header == request.headers.end()) return;
  const std::string_view value = header->second;
  const std::size_t space = value.find(' ');
  const std::string_view scheme = value.substr(0, space);
  const bool isSigned = scheme == "SharedKey" || scheme.substr(0, 4) == "AWS4";
  if (!isSigned) return add(std::string(value.substr(space + 1)), lasting);

  const std::size_t lastCharacter = value.find_last_not_of('=');  // base64 may end with padding
  add(std::string(value.substr(value.find_last_of(" =:", lastCharacter) + 1)), secrets);
  const std::string masked = maskAuthorization(value, {});
  const std::size_t key = masked.find("Credential=");
  if (key == std::string::npos) return;
  const std::size_t begin = masked.find('=', key) + 1;
  const std::size_t end = value.find(masked.substr(begin, masked.find(',', begin) - begin), begin);
  add(std::string(value.substr(begin, end - begin)), secrets);
}

Secrets lastingOf(const Http::Request& request, const Http::Response& response) {
  Secrets lasting;
  Secrets momentary;
  addAuthorization(request, lasting, momentary);
  addFields(request.body, kindOf(request.headers), lasting);
  addFields(response.body, kindOf(response.headers), lasting);
  // The names of a response with tokens may have escapes.
  if (kindOf(request.headers) == TextKind::Form) {
    for (std::string& token :
         Util::Json::texts(response.body, {"access_token", "refresh_token", "id_token"})) {
      add(std::move(token), lasting);
    }
  }
  return lasting;
}

Secrets allOf(const Http::Request& request, const Secrets& lasting, Secrets known) {
  for (const std::string& secret : lasting) add(secret, known);
  Secrets tokens;
  addAuthorization(request, tokens, known);
  addFields(request.uri.toString(), TextKind::Any, known);
  return known;
}

}  // namespace

TextKind kindOf(const Http::HeaderValueCollection& headers) {
  const auto type = headers.find(Http::CONTENT_TYPE_HEADER);
  const bool isForm =
      type != headers.end() && type->second.find("x-www-form-urlencoded") != std::string::npos;
  return isForm ? TextKind::Form : TextKind::Any;
}

ExchangeRedactor::ExchangeRedactor(const Http::Request& request, const Http::Response& response,
                                   std::vector<std::string> known)
    : lasting_(lastingOf(request, response)),
      redactor_(allOf(request, lasting_, std::move(known))) {}

std::string ExchangeRedactor::text(std::string_view text, TextKind kind, const Masks& masks) const {
  const std::string withoutKnown = redactor_.text(text, masks.secret);
  const std::string withoutFields = maskSecretFields(withoutKnown, kind, masks.secret);
  return maskEmailAddresses(withoutFields, masks.emailAddress);
}

std::string ExchangeRedactor::headerValue(std::string_view name, std::string_view value) const {
  if (name == "authorization" || name == "proxy-authorization") {
    return maskAuthorization(value, kMasks.secret);
  }
  return isSecretHeader(name) ? std::string(kMasks.secret) : text(value);
}

}  // namespace CloudStorage::Recording
