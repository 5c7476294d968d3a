#pragma once

#include <memory>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "CloudStorage/Util/Status.h"

/// Reading the XML answers of the object stores. Elements are looked up by local name: some stores
/// use no namespace, some their own, some a prefix.
namespace CloudStorage::Util::Xml {

/// Parses `body` in place. On success `document` points into `body`, which must neither change nor
/// go away before it; on failure `document` is empty and `body` is of no further use.
///
/// `body` must be one element in UTF-8, with or without a byte order mark; an XML declaration,
/// comments and processing instructions around it are skipped. Refused are a document type
/// definition, elements nested deeper than 64, more than two million tags, bytes of value 0, and a
/// numeric reference that stands for no character (such as `&#0;`, wherever it is written).
/// References to control characters, which XML 1.0 forbids but object stores write (`&#x1b;`), are
/// decoded. The encoding itself is not checked.
Status parse(std::string& body, pugi::xml_document& document);

/// Whether `node` is an element of this local name.
bool isNamed(pugi::xml_node node, const char* localName);

/// The first child element of this local name; a null node if there is none. Here and below, an
/// element without a prefix goes before one with: a service does not use both for the same thing.
pugi::xml_node child(pugi::xml_node parent, const char* localName);

/// The next element after `node` among its siblings that has this local name; a null node if there
/// is none.
pugi::xml_node nextSibling(pugi::xml_node node, const char* localName);

/// The text directly inside an element: all its pieces, character data sections included,
/// untrimmed. Text that is nothing but white space counts if the element holds nothing else. Empty
/// for a null node.
std::string text(pugi::xml_node element);

/// A received document whose texts are used where they lie: what is read from it are views into it,
/// and nothing is copied.
class Page {
 public:
  explicit Page(std::string body);

  /// Whether it could be parsed; see parse().
  const Status& status() const { return status_; }
  pugi::xml_node root() const { return document_.document_element(); }

  /// See Xml::text(). Several pieces are moved together, so ask once for each element.
  std::string_view text(pugi::xml_node element);
  /// Puts `bytes`, which are no longer than `text`, where `text` lies in the page.
  std::string_view replace(std::string_view text, const std::string& bytes);

  /// What the views point into.
  std::shared_ptr<const std::string> storage() const { return body_; }

 private:
  char* placeOf(const char* inBody) { return body_->data() + (inBody - body_->data()); }

  std::shared_ptr<std::string> body_;
  pugi::xml_document document_;
  Status status_;
};

}  // namespace CloudStorage::Util::Xml
