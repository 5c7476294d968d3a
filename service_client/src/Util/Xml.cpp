#include "Util/Xml.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "Util/Text.h"

namespace CloudStorage::Util::Xml {
namespace {

constexpr int kMaxDepth = 64;

/// A document takes some 60 bytes for each tag, so that a body of nothing but tags would grow to
/// many times its size. The longest listings have some ten tags an entry and thousands of entries.
constexpr std::ptrdiff_t kMaxTags = 2'000'000;

/// The document type is parsed only to be noticed. White space between elements is dropped; where
/// it is all that an element holds it is a value. Text that an element begins with becomes its own
/// value instead of a node below it: a listing has two nodes for every three it would have.
constexpr unsigned int kParseOptions = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol |
                                       pugi::parse_wconv_attribute | pugi::parse_doctype |
                                       pugi::parse_ws_pcdata_single | pugi::parse_embed_pcdata;

/// The digit's value, or `base` if it is none.
std::uint32_t digitValue(char character, std::uint32_t base) {
  std::uint32_t value = base;
  if (character >= '0' && character <= '9') {
    value = static_cast<std::uint32_t>(character - '0');
  } else if (character >= 'a' && character <= 'f') {
    value = static_cast<std::uint32_t>(character - 'a' + 10);
  } else if (character >= 'A' && character <= 'F') {
    value = static_cast<std::uint32_t>(character - 'A' + 10);
  }
  return value < base ? value : base;
}

/// Whether the digits and the semicolon that `text` begins with name a Unicode character.
bool namesCharacter(std::string_view text) {
  constexpr std::uint32_t kLastCharacter = 0x10FFFF;
  std::uint32_t base = 10;
  if (!text.empty() && text.front() == 'x') {
    base = 16;
    text.remove_prefix(1);
  }
  std::uint32_t character = 0;
  std::size_t length = 0;
  for (; length < text.size() && digitValue(text[length], base) < base; ++length) {
    character = character * base + digitValue(text[length], base);
    if (character > kLastCharacter) return false;
  }
  const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
  return length < text.size() && text[length] == ';' && character != 0 && !isSurrogate;
}

/// The parser would decode a reference to no character all the same: `&#0;` into an end of text
/// that cuts a name short, others into bytes that are no UTF-8.
bool hasBadCharacterReference(std::string_view body) {
  for (std::size_t at = body.find("&#"); at != std::string_view::npos; at = body.find("&#", at)) {
    at += 2;
    if (!namesCharacter(body.substr(at))) return true;
  }
  return false;
}

/// Counts only where the size leaves room for so many: that costs a fifth of what parsing does.
bool hasTooManyTags(std::string_view body) {
  return body.size() > static_cast<std::size_t>(kMaxTags) &&
         std::count(body.begin(), body.end(), '<') > kMaxTags;
}

/// Why `body` is not worth parsing; null if it is.
const char* objectionTo(std::string_view body) {
  const std::size_t start = body.find_first_not_of(" \t\r\n");
  if (start == std::string_view::npos) return "it is empty";
  if (body[start] != '<') return "it does not begin with an element";
  if (body.find('\0') != std::string_view::npos) return "it holds a byte of value 0";
  if (hasTooManyTags(body)) return "it has too many elements";
  if (hasBadCharacterReference(body)) return "it holds a reference to no character";
  return nullptr;
}

/// Stops at an element that is too deep. The parser's own walk goes by links, as a hostile document
/// can be nested deeper than the stack.
class DepthCheck : public pugi::xml_tree_walker {
 public:
  bool for_each(pugi::xml_node& node) override {  // the root element has depth 0
    return depth() < kMaxDepth || node.type() != pugi::node_element;
  }
};

/// Why `document` is not to be used; null if it is.
const char* objectionTo(pugi::xml_document& document) {
  int elements = 0;
  for (const pugi::xml_node node : document.children()) {
    if (node.type() == pugi::node_doctype) return "it has a document type definition";
    if (node.type() == pugi::node_element) ++elements;
  }
  if (elements != 1) return "it has more than one root element";
  DepthCheck depthCheck;
  if (!document.traverse(depthCheck)) return "its elements are too deep";
  return nullptr;
}

Status failure(const std::string& reason) { return {1, "The XML cannot be used: " + reason + "."}; }

pugi::xml_node firstNamed(pugi::xml_node node, const char* localName) {
  while (node && !isNamed(node, localName)) node = node.next_sibling();
  return node;
}

bool isText(pugi::xml_node node) {
  return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

}  // namespace

Status parse(std::string& body, pugi::xml_document& document) {
  document.reset();
  if (const char* objection = objectionTo(skipByteOrderMark(body))) return failure(objection);

  const pugi::xml_parse_result result =
      document.load_buffer_inplace(body.data(), body.size(), kParseOptions, pugi::encoding_utf8);
  if (!result) {
    document.reset();
    return failure(std::string(result.description()) + " at byte " + std::to_string(result.offset));
  }
  if (const char* objection = objectionTo(document)) {
    document.reset();
    return failure(objection);
  }
  return {};
}

bool isNamed(pugi::xml_node node, const char* localName) {
  const char* name = node.name();  // of all that is kept of a document only elements have one
  if (*name == '\0') return false;
  if (std::strcmp(name, localName) == 0) return true;
  const char* colon = std::strchr(name, ':');
  return colon != nullptr && std::strcmp(colon + 1, localName) == 0;
}

// Both ask the parser's library first, for the name without a prefix. That is the usual case, and
// cheaper by far than to compare name by name from here.

pugi::xml_node child(pugi::xml_node parent, const char* localName) {
  const auto found = parent.child(localName);
  return found ? found : firstNamed(parent.first_child(), localName);
}

pugi::xml_node nextSibling(pugi::xml_node node, const char* localName) {
  const auto found = node.next_sibling(localName);
  return found ? found : firstNamed(node.next_sibling(), localName);
}

std::string text(pugi::xml_node element) {
  std::string pieces = element.value();
  for (auto piece = element.first_child(); piece; piece = piece.next_sibling()) {
    if (isText(piece)) pieces += piece.value();
  }
  return pieces;
}

Page::Page(std::string body)
    : body_(std::make_shared<std::string>(std::move(body))), status_(parse(*body_, document_)) {}

std::string_view Page::text(pugi::xml_node element) {
  std::string_view joined = element.value();
  auto piece = element.first_child();
  if (!piece) return joined;  // as good as always
  for (; piece; piece = piece.next_sibling()) {
    if (!isText(piece)) continue;
    const std::string_view next = piece.value();
    if (joined.empty()) {
      joined = next;
    } else if (!next.empty()) {
      // Markup lay between them, so there is room.
      char* start = placeOf(joined.data());
      std::memmove(start + joined.size(), next.data(), next.size());
      joined = {start, joined.size() + next.size()};
    }
  }
  return joined;
}

std::string_view Page::replace(std::string_view text, const std::string& bytes) {
  if (bytes.empty()) return {};
  char* start = placeOf(text.data());
  std::copy(bytes.begin(), bytes.end(), start);
  return {start, bytes.size()};
}

}  // namespace CloudStorage::Util::Xml
