#pragma once

#include <memory>
#include <string>
#include <utility>

#include "Client/ErrorMarshalling.h"
#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Util/Outcome.h"
#include "Util/Xml.h"

namespace CloudStorage::Client {

using XmlPage = std::unique_ptr<Util::Xml::Page>;

/// The XML document in the body of a response, or the error for a body that is not XML.
inline Util::Outcome<XmlPage, Error> readXml(std::string body) {
  auto page = std::make_unique<Util::Xml::Page>(std::move(body));
  if (!page->status().isSuccess()) return malformedResponse(page->status().toString());
  return page;
}

}  // namespace CloudStorage::Client
