// The entry of a recording: JSON without the token of the request, whatever the service responds.

#include <simdjson.h>

#include <string>

#include "Http/PercentEncoding.h"
#include "Recording/EmailAddresses.h"
#include "Recording/ExchangeRedactor.h"
#include "Recording/HarEntry.h"
#include "error_checks.h"
#include "fuzz_input.h"

namespace {

using namespace CloudStorage;
using ErrorChecks::require;

// Without characters that have several spellings.
constexpr char kToken[] = "TheAccessToken0123456789";

void checkFields(std::string_view input) {
  for (const auto kind : {Recording::TextKind::Form, Recording::TextKind::Any}) {
    std::size_t end = 0;
    for (const auto& field : Recording::secretFields(input, kind)) {
      require(field.begin >= end && field.size > 0);
      end = field.begin + field.size;
      require(end <= input.size());
    }
  }
}

void checkEmailAddresses(std::string_view input) {
  const std::string masked = Recording::maskEmailAddresses(input, "#");
  require(masked.size() <= input.size());
  const std::string before(input.substr(0, input.size() / 2));
  const std::string address = " <ann@example.test> ";
  const std::string text = before + address + std::string(input);
  require(Recording::maskEmailAddresses(text, "#").find(address) == std::string::npos);
}

void checkEntry(std::string_view input) {
  const std::string before(input.substr(0, input.size() / 2));
  const std::string quoted = before + kToken + std::string(input.substr(before.size()));
  Http::Request request;
  request.method = Http::Method::Post;
  request.uri = *Http::URI::parse("https://a.test/" + Http::uriEncode(quoted, true));
  request.headers = {{"authorization", std::string("Bearer ") + kToken}, {"x", quoted}};
  request.body = quoted;
  Http::Response response;
  response.status = 200;
  response.body = quoted;
  response.headers = {{"location", quoted}, {"www-authenticate", quoted}};

  const Recording::ExchangeRedactor redactor(request, response, {});
  std::string entry = Recording::harEntry({request, response, {}, {}}, redactor);
  require(entry.find(kToken) == std::string::npos);
  simdjson::dom::parser parser;
  simdjson::dom::element root;
  require(parser.parse(simdjson::padded_string(entry)).get(root) == simdjson::SUCCESS);
}

}  // namespace

void checkInput(std::string_view input) {
  checkFields(input);
  checkEmailAddresses(input);
  checkEntry(input);
}
