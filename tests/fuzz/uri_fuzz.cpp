#include <string>

#include "Client/S3/S3Addressing.h"
#include "CloudStorage/Http/URI.h"
#include "error_checks.h"
#include "fuzz_input.h"

namespace {

using CloudStorage::Http::URI;
using ErrorChecks::require;

bool isPrintable(const std::string& text) {
  return text.find_first_not_of(
             "!\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`"
             "abcdefghijklmnopqrstuvwxyz{|}~") == std::string::npos;
}

void checkParts(const URI& uri) {
  require(isPrintable(uri.toString()));
  require(uri.scheme() == "https" || uri.scheme() == "http");
  require(!uri.host().empty());
  require(uri.port() != 0);
}

// What is sent is what was parsed.
void checkText(const URI& uri) {
  const std::string text = uri.toString();
  const auto again = URI::parse(text);
  require(again.has_value());
  require(again->toString() == text);
  require(again->host() == uri.host() && again->port() == uri.port());
  require(again->path() == uri.path() || uri.path().empty());  // an empty path is sent as a slash
  require(again->query() == uri.query());
}

void checkAdditions(URI uri, std::string_view input) {
  uri.addPathSegment(input);
  uri.addPath(input);
  uri.addQueryStringParameter(input, input);
  uri.sortQuery();
  require(isPrintable(uri.toString()));
}

}  // namespace

void checkInput(std::string_view input) {
  for (const char* scheme : {"", "https"}) {
    const auto uri = URI::parse(input, scheme);
    if (!uri) continue;
    checkParts(*uri);
    checkText(*uri);
    checkAdditions(*uri, input);
  }
  const auto endpoint = CloudStorage::Client::S3::parseEndpoint(std::string(input));
  if (endpoint) checkParts(endpoint->base);
}
