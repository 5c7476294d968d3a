#pragma once

#include <memory>
#include <string>
#include <utility>

#include "Client/ErrorMarshalling.h"
#include "Client/ResponseChecks.h"
#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Http/Transport.h"
#include "CloudStorage/Util/Outcome.h"
#include "Http/HeaderChecks.h"
#include "Util/Json.h"

namespace CloudStorage::Client {

/// The storage of the texts that are read from a response. The texts are views into it.
using TextStorage = std::shared_ptr<const void>;

/// A check of the status of a response, such as isWholeResult().
using StatusCheck = bool (*)(const Http::Response& response);

/// Calls `read` with the JSON object in `response`, whose body it takes. Returns the storage of the
/// texts that are read, or the error for a response that fails the check, that is not a JSON object
/// or that has too many entries.
template <typename Read>
Util::Outcome<TextStorage, Error> readJson(Http::Response&& response, StatusCheck isSuccess,
                                           Util::Json::Parser& parser, Read read) {
  if (!isSuccess(response)) return unexpectedStatus(response);
  if (!Http::mayBeJson(response)) return malformedResponse("The answer is not JSON");
  try {
    const auto body = std::make_shared<std::string>(std::move(response.body));
    Util::Json::parse(*body, parser, read);
    return TextStorage(body);
  } catch (const Util::Json::TooManyElements& error) {
    return tooManyEntries(error.limit);
  } catch (const simdjson::simdjson_error& error) {
    return malformedResponse(std::string("The answer is no JSON object: ") + error.what());
  }
}

}  // namespace CloudStorage::Client
