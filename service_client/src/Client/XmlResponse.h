#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "Client/ErrorMarshalling.h"
#include "Client/ResponseChecks.h"
#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Http/Transport.h"
#include "CloudStorage/Util/Field.h"
#include "CloudStorage/Util/Outcome.h"
#include "Util/Xml.h"

/// What the object stores' responses with a success status have in common.
namespace CloudStorage::Client {

using XmlDocument = std::unique_ptr<Util::Xml::Document>;

/// The document in the body of `response`, which it takes. Its status states whether it is usable.
inline XmlDocument takeXml(Http::Response& response) {
  return std::make_unique<Util::Xml::Document>(std::move(response.body));
}

/// `document`, which `response` contained, if it is a listing with the root element `rootName`.
/// Some stores send an error with a success status; its type is then defined by `table`.
Util::Outcome<XmlDocument, Error> asListing(XmlDocument document, const Http::Response& response,
                                            const char* rootName, ErrorTable table);

/// The most entries that a page may contain if the request asks for `pageSize` entries.
inline std::size_t mostEntriesOf(const Util::Field<std::int64_t>& pageSize) {
  return mostEntriesOf(pageSize.isPresent() ? pageSize.value() : 0);
}

/// The result of a request that stored something.
struct Stored {};

/// Reads the response to a request that stores something. Its body does not matter: services send
/// none, or a text of their own. But an HTML page comes from another source, such as the login page
/// of a network, and an error may be sent with a success status; see asListing().
Util::Outcome<Stored, Error> readStored(Http::Response& response, ErrorTable table);

/// The parser of an operation that stores something and whose result is `Result`.
template <typename Result>
Util::Outcome<Result, Error> parseStored(Http::Response& response, ErrorTable table) {
  const auto stored = readStored(response, table);
  if (!stored.isSuccess()) return stored.getError();
  return Result();
}

}  // namespace CloudStorage::Client
