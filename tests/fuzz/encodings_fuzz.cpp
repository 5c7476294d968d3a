// Percent-encoding, times and lines of a log.

#include <string>

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
  require(line.size() <= 1024);
  require(Util::oneLine(line) == line);
  require(Util::replaceInvalidUtf8(input).size() <= input.size());

  const std::string secret(input.substr(0, 12));
  std::string text(input);
  Util::redact(text, secret);
  require(secret.size() < 12 || text.find(secret) == std::string::npos);
}

}  // namespace

void checkInput(std::string_view input) {
  checkPercentEncoding(input);
  checkTimes(input);
  checkTexts(input);
}
