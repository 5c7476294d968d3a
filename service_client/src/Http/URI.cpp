#include "CloudStorage/Http/URI.h"

#include <algorithm>
#include <charconv>

#include "Http/PercentEncoding.h"
#include "Util/Text.h"

namespace CloudStorage::Http {
namespace {

bool isPrintableAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7f; });
}

std::uint16_t defaultPort(std::string_view scheme) { return scheme == "https" ? 443 : 80; }

bool isHostCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == '_';
}

bool isHostName(std::string_view host) {
  return !host.empty() && host.size() <= 253 &&
         std::all_of(host.begin(), host.end(), isHostCharacter) && host.front() != '.' &&
         host.find("..") == std::string_view::npos;
}

bool isBracketedAddress(std::string_view host) {
  return host.size() > 4 && host.front() == '[' && host.back() == ']' &&
         host.find_first_not_of("0123456789abcdef:.", 1) == host.size() - 1;
}

// Splits "host:port", of which the port is optional. Returns false if it is not a number from 1 to
// 65535.
bool splitPort(std::string_view authority, std::string_view& host, std::uint16_t& port) {
  host = authority;
  const auto afterAddress = authority.rfind(']');
  const auto colon = authority.rfind(':');
  if (colon == std::string_view::npos ||
      (afterAddress != std::string_view::npos && colon < afterAddress)) {
    return true;
  }
  host = authority.substr(0, colon);
  const std::string_view digits = authority.substr(colon + 1);
  const auto [end, problem] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
  return problem == std::errc() && end == digits.data() + digits.size() && port != 0;
}

std::vector<URI::QueryParameter> splitQuery(std::string_view text) {
  std::vector<URI::QueryParameter> parameters;
  while (!text.empty()) {
    const auto ampersand = text.find('&');
    const std::string_view pair = text.substr(0, ampersand);
    if (!pair.empty()) {
      const auto equals = pair.find('=');
      const auto value = equals == std::string_view::npos ? "" : pair.substr(equals + 1);
      parameters.emplace_back(pair.substr(0, equals), value);
    }
    if (ampersand == std::string_view::npos) break;
    text.remove_prefix(ampersand + 1);
  }
  return parameters;
}

}  // namespace

std::optional<URI> URI::parse(std::string_view text, std::string_view defaultScheme) {
  if (!isPrintableAscii(text) || text.find('#') != std::string_view::npos) return std::nullopt;

  URI uri;
  const auto schemeEnd = text.find("://");
  uri.scheme_ = Util::lowerCase(schemeEnd == std::string_view::npos ? defaultScheme
                                                                    : text.substr(0, schemeEnd));
  if (uri.scheme_ != "http" && uri.scheme_ != "https") return std::nullopt;
  if (schemeEnd != std::string_view::npos) text.remove_prefix(schemeEnd + 3);

  const auto authorityEnd = std::min(text.find_first_of("/?"), text.size());
  std::string_view host;
  if (!splitPort(text.substr(0, authorityEnd), host, uri.port_)) return std::nullopt;
  if (uri.port_ == defaultPort(uri.scheme_)) uri.port_ = 0;  // follows a change of the scheme
  uri.host_ = Util::lowerCase(host);
  if (!isHostName(uri.host_) && !isBracketedAddress(uri.host_)) return std::nullopt;
  text.remove_prefix(authorityEnd);

  const auto queryStart = text.find('?');
  uri.path_ = text.substr(0, queryStart);
  if (queryStart != std::string_view::npos) {
    uri.receivedQuery_ = text.substr(queryStart + 1);
    uri.query_ = splitQuery(uri.receivedQuery_);
  }
  return uri;
}

std::uint16_t URI::port() const { return port_ != 0 ? port_ : defaultPort(scheme_); }

std::string URI::authority() const {
  return port() == defaultPort(scheme_) ? host_ : host_ + ':' + std::to_string(port());
}

std::string URI::queryText() const {
  std::string text;
  for (const auto& [name, value] : query_) {
    if (!text.empty()) text += '&';
    text += name;
    text += '=';
    text += value;
  }
  return text;
}

std::string URI::toString() const {
  std::string text = scheme_ + "://" + authority() + (path_.empty() ? "/" : path_);
  if (!query_.empty()) text += '?' + (receivedQuery_.empty() ? queryText() : receivedQuery_);
  return text;
}

void URI::addPathSegment(std::string_view segment) {
  if (path_.empty() || path_.back() != '/') path_ += '/';
  path_ += uriEncode(segment, false);
}

void URI::addPath(std::string_view path) {
  if (path_.empty() || path_.back() != '/') path_ += '/';
  path_ += uriEncode(path, true);
}

void URI::addQueryStringParameter(std::string_view name, std::string_view value) {
  query_.emplace_back(uriEncode(name, false), uriEncode(value, false));
  receivedQuery_.clear();
}

void URI::sortQuery() {
  std::sort(query_.begin(), query_.end());
  receivedQuery_.clear();
}

}  // namespace CloudStorage::Http
