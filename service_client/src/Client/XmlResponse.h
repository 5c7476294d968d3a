#pragma once

#include <memory>
#include <string>
#include <utility>

#include "Client/ErrorMarshalling.h"
#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Util/Outcome.h"
#include "Util/Xml.h"

namespace CloudStorage::Client {

using XmlDocument = std::unique_ptr<Util::Xml::Document>;

/// The XML document in the body of a response, or the error for a body that is not XML.
inline Util::Outcome<XmlDocument, Error> readXml(std::string body) {
  auto document = std::make_unique<Util::Xml::Document>(std::move(body));
  if (!document->status().isSuccess()) return malformedResponse(document->status().toString());
  return document;
}

}  // namespace CloudStorage::Client
