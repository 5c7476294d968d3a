#include "authorization_response.h"

#include <algorithm>
#include <charconv>

#include "command_failure.h"

namespace tool {
namespace {

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kWhitespace = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kWhitespace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhitespace) - first + 1);
}

/// Invalid percent-encodings are kept unchanged.
std::string percentDecoded(std::string_view text) {
  std::string decoded;
  while (!text.empty()) {
    unsigned value = 0;
    const std::string_view digits = text.substr(1, 2);
    const char* end = digits.data() + digits.size();
    const bool isEncoded = text.front() == '%' && digits.size() == 2 &&
                           std::from_chars(digits.data(), end, value, 16).ptr == end;
    decoded += isEncoded ? static_cast<char>(value) : text.front();
    text.remove_prefix(isEncoded ? 3 : 1);
  }
  return decoded;
}

/// The decoded value of a query parameter of an address; empty if there is no such parameter.
std::string parameter(std::string_view address, std::string_view name) {
  address = address.substr(0, address.find('#'));
  const std::size_t mark = address.find('?');
  std::string_view query = mark == std::string_view::npos ? "" : address.substr(mark + 1);
  while (!query.empty()) {
    const std::string_view pair = query.substr(0, query.find('&'));
    if (pair.substr(0, pair.find('=')) == name && pair.size() > name.size()) {
      return percentDecoded(pair.substr(name.size() + 1));
    }
    query.remove_prefix(std::min(query.size(), pair.size() + 1));
  }
  return {};
}

void requireNoError(std::string_view address) {
  const std::string error = parameter(address, "error");
  if (error.empty()) return;
  if (error == "access_denied") {
    throw CommandFailure(ExitCode::ServiceFailed,
                         "access was denied on the page of the service; nothing has changed");
  }
  const std::string description = parameter(address, "error_description");
  throw CommandFailure(ExitCode::ServiceFailed,
                       "the service sent no code but the error '" + error + "'" +
                           (description.empty() ? "" : ": " + description));
}

/// Some browsers leave the scheme out of an address that is copied.
bool isAddress(std::string_view text) {
  return text.substr(0, 8) == "https://" || text.substr(0, 7) == "http://" ||
         !parameter(text, "code").empty() || !parameter(text, "error").empty();
}

}  // namespace

std::string authorizationCode(std::string_view pasted) {
  pasted = trimmed(pasted);
  if (pasted.empty()) throw CommandFailure(ExitCode::LocalFailure, "no code was given");
  std::string code;
  if (isAddress(pasted)) {
    requireNoError(pasted);
    code = parameter(pasted, "code");
  } else {
    // A code that was copied out of an address. No service issues codes with a '%' of their own.
    code = percentDecoded(pasted);
  }
  // A NUL would silently truncate the code.
  if (code.empty() || code.find('\0') != std::string::npos) {
    throw CommandFailure(
        ExitCode::BadUsage,
        "no code stands in that; paste the whole address of the page that the browser "
        "ends at, which has 'code=' in it, or the code alone");
  }
  return code;
}

}  // namespace tool
