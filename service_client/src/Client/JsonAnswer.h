#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Client/ErrorMarshalling.h"
#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Http/Transport.h"
#include "Http/HeaderText.h"
#include "Util/Json.h"

namespace CloudStorage::Client {

/// Reads the JSON object in an answer with `read`, which takes it apart. `page` gets what keeps the
/// texts that were read.
template <typename Read>
std::optional<Error> readJson(Http::Response& response, std::shared_ptr<const void>& page,
                              Read read) {
  if (!Http::mayBeJson(response)) return localError("MalformedResponse", "The answer is not JSON");
  try {
    const auto json = std::make_shared<Util::Json::Page>(std::move(response.body));
    read(json->root());
    json->finish();
    page = json;
    return std::nullopt;
  } catch (const simdjson::simdjson_error& error) {
    return localError("MalformedResponse",
                      std::string("The answer is no JSON object: ") + error.what());
  }
}

}  // namespace CloudStorage::Client
