#include "Client/XmlResponse.h"

#include <string>
#include <string_view>

#include "Http/HeaderChecks.h"
#include "Util/Text.h"

namespace CloudStorage::Client {

namespace Xml = Util::Xml;

namespace {

constexpr char kPage[] = "The answer is a page";

// Whether `root` is an error document. Without a code it states nothing that could be reported.
bool isError(pugi::xml_node root) {
  return Xml::isNamed(root, "Error") && !Xml::text(Xml::child(root, "Code")).empty();
}

Error errorIn(pugi::xml_node root, const Http::Response& response, ErrorTable table) {
  return responseError(
      response, Http::Method::Get,
      {Xml::text(Xml::child(root, "Code")), Xml::text(Xml::child(root, "Message"))}, table);
}

// The error for a body that was refused.
Error refusalOf(const Xml::Document& document) {
  const Util::Status& status = document.status();
  const bool isTooLarge = status.getCode() == Xml::kTooLarge;
  return localError(isTooLarge ? "ResponseTooLarge" : "MalformedResponse", status.toString());
}

bool isMarkup(std::string_view body) {
  body = Util::skipByteOrderMark(body);
  const auto start = body.find_first_not_of(" \t\r\n");
  return start != std::string_view::npos && body[start] == '<';
}

}  // namespace

Util::Outcome<XmlDocument, Error> asListing(XmlDocument document, const Http::Response& response,
                                            const char* rootName, ErrorTable table) {
  if (!isWholeResult(response)) return unexpectedStatus(response);
  if (Http::isHtml(response)) return malformedResponse(kPage);
  if (!document->status().isSuccess()) return refusalOf(*document);
  const auto root = document->root();
  if (Xml::isNamed(root, rootName)) return document;
  if (isError(root)) return errorIn(root, response, table);
  return malformedResponse(std::string("The answer is no ") + rootName);
}

Util::Outcome<Stored, Error> readStored(Http::Response& response, ErrorTable table) {
  if (!confirmsCreation(response)) return unexpectedStatus(response);
  if (response.body.empty()) return Stored();  // some stores label it as HTML
  if (Http::isHtml(response)) return malformedResponse(kPage);
  if (!isMarkup(response.body)) return Stored();

  const XmlDocument document = takeXml(response);
  if (!document->status().isSuccess()) return refusalOf(*document);
  const auto root = document->root();
  if (Xml::isNamed(root, "html")) return malformedResponse(kPage);
  if (isError(root)) return errorIn(root, response, table);
  if (Xml::isNamed(root, "Error"))
    return malformedResponse("The answer is an Error without a code");
  return Stored();
}

}  // namespace CloudStorage::Client
