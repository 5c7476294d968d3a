#pragma once

#include <memory>
#include <string>
#include <utility>

#include "Client/ErrorMarshalling.h"
#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Http/Transport.h"
#include "CloudStorage/Util/Outcome.h"
#include "Http/HeaderText.h"
#include "Util/Json.h"

namespace CloudStorage::Client {

/// What holds the texts that were read from a response. They are views, and last as long as it does.
using Page = std::shared_ptr<const void>;

/// Calls `read` with the JSON object in `response`, whose body it takes. Returns what holds the
/// texts that `read` got, or the error for a response that is not one JSON object.
template <typename Read>
Util::Outcome<Page, Error> readJson(Http::Response&& response, Util::Json::Parser& parser,
                                    Read read) {
  if (!Http::mayBeJson(response)) return malformedResponse("The answer is not JSON");
  try {
    const auto body = std::make_shared<std::string>(std::move(response.body));
    Util::Json::parse(*body, parser, read);
    return Page(body);
  } catch (const simdjson::simdjson_error& error) {
    return malformedResponse(std::string("The answer is no JSON object: ") + error.what());
  }
}

/// The same with a parser of its own.
template <typename Read>
Util::Outcome<Page, Error> readJson(Http::Response&& response, Read read) {
  Util::Json::Parser parser;
  return readJson(std::move(response), parser, read);
}

}  // namespace CloudStorage::Client
