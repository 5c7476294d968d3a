#pragma once

#include <memory>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "CloudStorage/Util/Status.h"

/// Parsing of the object stores' XML responses. Elements are looked up by local name: some stores
/// use no namespace, some use one of their own, and some use a prefix.
namespace CloudStorage::Util::Xml {

/// Parses `body` in place. On success `document` points into `body`, which must outlive it
/// unchanged. On failure `document` is empty and the content of `body` is unspecified.
///
/// `body` must contain one root element in UTF-8, with or without a byte order mark. An XML
/// declaration, comments and processing instructions around it are skipped. Rejected are a document
/// type definition, elements nested deeper than 64 levels, more than two million tags, NULs, and
/// numeric references that do not stand for a character (such as `&#0;`, wherever it occurs).
/// References to control characters, which XML 1.0 forbids but object stores send (`&#x1b;`), are
/// decoded. The encoding itself is not checked.
Status parse(std::string& body, pugi::xml_document& document);

/// Whether `node` is an element with this local name.
bool isNamed(pugi::xml_node node, const char* localName);

/// The first child element with this local name; a null node if there is none. Here and below, an
/// element without a prefix takes precedence over one with a prefix: no service uses both forms for
/// the same purpose.
pugi::xml_node child(pugi::xml_node parent, const char* localName);

/// The next sibling of `node` with this local name; a null node if there is none.
pugi::xml_node nextSibling(pugi::xml_node node, const char* localName);

/// The text directly inside an element: all its pieces, including CDATA sections, untrimmed. Text
/// that is only white space is included if the element contains nothing else. Empty for a null
/// node.
std::string text(pugi::xml_node element);

/// A received document. The texts that are read from it are views into its storage; nothing is
/// copied.
class Document {
 public:
  explicit Document(std::string body);

  /// The result of parse().
  const Status& status() const { return status_; }
  pugi::xml_node root() const { return document_.document_element(); }

  /// See Xml::text(). Joins several pieces in place, so it must be called only once per element.
  std::string_view text(pugi::xml_node element);
  /// Overwrites `text`, a view into the storage, with `bytes`, which must not be longer.
  std::string_view replace(std::string_view text, const std::string& bytes);

  /// The storage that the views point into.
  std::shared_ptr<const std::string> storage() const { return body_; }

 private:
  char* placeOf(const char* inBody) { return body_->data() + (inBody - body_->data()); }

  std::shared_ptr<std::string> body_;
  pugi::xml_document document_;
  Status status_;
};

}  // namespace CloudStorage::Util::Xml
