#pragma once

#include <deque>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "CloudStorage/Util/Status.h"

/// Parsing of the object stores' XML responses. Elements are looked up by local name: some stores
/// use no namespace, some use one of their own, and some use a prefix.
namespace CloudStorage::Util::Xml {

/// The codes of parse()'s status: the body is not well-formed XML; it is, but has a document type
/// definition or is nested too deep; its document would take many times its memory.
inline constexpr int kNotXml = 1;
inline constexpr int kForbidden = 2;
inline constexpr int kTooLarge = 3;

/// Parses `body` in place. On success `document` points into `body`, which must outlive it
/// unchanged. On failure `document` is empty and the content of `body` is unspecified.
///
/// `body` must contain one root element in UTF-8, with or without a byte order mark. An XML
/// declaration, comments and processing instructions around it are skipped. Rejected are NULs, a
/// document type definition, elements nested deeper than 64 levels, and more than two million
/// elements, pieces of text and attributes. The encoding itself is not checked. The values of the
/// document's nodes still contain references, which the functions below decode.
Status parse(std::string& body, pugi::xml_document& document);

/// Whether `node` is an element with this local name.
bool isNamed(pugi::xml_node node, const char* localName);

/// The first child element with this local name; a null node if there is none. An element without a
/// prefix takes precedence over one with a prefix: no service uses both forms for the same purpose.
pugi::xml_node child(pugi::xml_node parent, const char* localName);

/// The last child element with this local name; a null node if there is none. For lists: where a
/// response has two of a name, the last one counts.
pugi::xml_node lastChild(pugi::xml_node parent, const char* localName);

/// The text directly inside an element: all its pieces, including CDATA sections, untrimmed. Text
/// that is only white space is included if the element contains nothing else. Empty for a null
/// node.
///
/// References are decoded, except in CDATA sections. References to control characters, which XML
/// 1.0 forbids but object stores send (`&#x1b;`), are decoded as well. One to a number that is not
/// a character (NUL, a surrogate, more than U+10FFFF) becomes U+FFFD, so that a single bad name
/// does not make a listing unusable. Anything else after an ampersand is plain text.
std::string text(pugi::xml_node element);

/// A received document. The texts that are read from it are views into its storage; nothing is
/// copied.
class Document {
 public:
  explicit Document(std::string body);

  /// The status of parse().
  const Status& status() const { return status_; }
  pugi::xml_node root() const { return document_.document_element(); }

  /// See Xml::text(). Decodes and joins in place, so it must be called only once per element.
  std::string_view text(pugi::xml_node element);
  /// `bytes` as a part of the storage, in the place of `text`, a view into it, if there is room.
  std::string_view replace(std::string_view text, std::string bytes);

  /// The storage that the views point into.
  std::shared_ptr<const std::string> storage() const { return {storage_, &storage_->body}; }

 private:
  struct Storage {
    std::string body;
    std::deque<std::string> longerTexts;  // those that replace() has no room for
  };

  char* placeOf(const char* inBody) {
    return storage_->body.data() + (inBody - storage_->body.data());
  }
  std::string_view piece(pugi::xml_node node);

  std::shared_ptr<Storage> storage_;
  bool hasReferences_ = false;  // one search in the body costs less than one in each text
  pugi::xml_document document_;
  Status status_;
};

}  // namespace CloudStorage::Util::Xml
