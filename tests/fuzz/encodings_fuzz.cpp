// Percent-encoding, times, lines of a log, and the redaction of secrets in them.

#include <string>

#include "Auth/Redactor.h"
#include "Http/PercentEncoding.h"
#include "Util/Text.h"
#include "Util/Time.h"
#include "error_checks.h"
#include "fuzz_input.h"

namespace {

namespace Http = CloudStorage::Http;
namespace Util = CloudStorage::Util;
using ErrorChecks::require;

void checkPercentEncoding(std::string_view input) {
  for (const bool keepSlash : {false, true}) {
    require(Http::uriDecode(Http::uriEncode(input, keepSlash)) == input);
  }
  require(Http::uriDecode(input).size() <= input.size());
}

void checkTimes(std::string_view input) {
  if (const auto time = Util::parseIsoTime(input)) {
    require(Util::parseIsoTime(Util::formatIsoTime(*time)) == time);
  }
  if (const auto time = Util::parseHttpDate(input)) {
    require(Util::parseHttpDate(Util::formatHttpDate(*time)) == time);
  }
}

void checkTexts(std::string_view input) {
  const std::string line = Util::oneLine(input);
  require(line.size() <= Util::kLineLimit);
  require(Util::oneLine(line) == line);
  require(Util::replaceInvalidUtf8(input).size() <= input.size());

  // A mask must not look like the secret, and a space may come from a line break.
  const std::string secret(input.substr(0, 12));
  const std::string redacted = CloudStorage::Auth::Redactor({secret}).line(input);
  require(redacted.size() <= Util::kLineLimit);
  const bool canRemain = secret.find_first_of("* ?") != std::string::npos;
  require(secret.empty() || canRemain || redacted.find(secret) == std::string::npos);
}

}  // namespace

void checkInput(std::string_view input) {
  checkPercentEncoding(input);
  checkTimes(input);
  checkTexts(input);
}
