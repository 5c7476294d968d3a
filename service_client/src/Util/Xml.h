#pragma once

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
bool isNamed(pugi::xml_node node, std::string_view localName);

/// The first child element of this local name; a null node if there is none.
pugi::xml_node child(pugi::xml_node parent, std::string_view localName);

/// The next element after `node` among its siblings that has this local name; a null node if there
/// is none.
pugi::xml_node nextSibling(pugi::xml_node node, std::string_view localName);

/// The text directly inside an element: all its pieces, character data sections included,
/// untrimmed. Text that is nothing but white space counts if the element holds nothing else. Empty
/// for a null node.
std::string text(pugi::xml_node element);

}  // namespace CloudStorage::Util::Xml
