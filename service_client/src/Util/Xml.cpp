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

/// A document needs about 60 bytes per tag, so a body that consists of tags alone would grow to
/// many times its size. The longest listings have about ten tags per entry and thousands of
/// entries.
constexpr std::ptrdiff_t kMaxTags = 2'000'000;

/// The document type is parsed only to detect it. White space between elements is dropped; it is
/// kept if an element contains nothing else. Text at the beginning of an element becomes the
/// element's value instead of a child node, which saves a third of a listing's nodes.
constexpr unsigned int kParseOptions = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol |
                                       pugi::parse_wconv_attribute | pugi::parse_doctype |
                                       pugi::parse_ws_pcdata_single | pugi::parse_embed_pcdata;

/// The digit's value, or `base` if `character` is not a digit in that base.
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

/// Whether `text`, which follows "&#", begins with the number of a Unicode character and a
/// semicolon.
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

/// The parser also decodes references that do not stand for a character: `&#0;` to a NUL, which
/// truncates a name, and others to bytes that are not UTF-8.
bool hasBadCharacterReference(std::string_view body) {
  for (std::size_t at = body.find("&#"); at != std::string_view::npos; at = body.find("&#", at)) {
    at += 2;
    if (!namesCharacter(body.substr(at))) return true;
  }
  return false;
}

/// Counts only if the body is large enough for that many tags, because counting costs a fifth of
/// the time that parsing takes.
bool hasTooManyTags(std::string_view body) {
  return body.size() > static_cast<std::size_t>(kMaxTags) &&
         std::count(body.begin(), body.end(), '<') > kMaxTags;
}

Status failure(const std::string& reason) { return {1, "The XML cannot be used: " + reason + "."}; }

/// Whether `body` is worth parsing.
Status checkBody(std::string_view body) {
  const std::size_t start = body.find_first_not_of(" \t\r\n");
  if (start == std::string_view::npos) return failure("it is empty");
  if (body[start] != '<') return failure("it does not begin with an element");
  if (body.find('\0') != std::string_view::npos) return failure("it holds a byte of value 0");
  if (hasTooManyTags(body)) return failure("it has too many elements");
  if (hasBadCharacterReference(body)) return failure("it holds a reference to no character");
  return {};
}

/// Stops at an element that is too deep. The parser's own traversal does not recurse: a hostile
/// document can be nested deeper than the stack allows.
class DepthCheck : public pugi::xml_tree_walker {
 public:
  bool for_each(pugi::xml_node& node) override {  // the root element has depth 0
    return depth() < kMaxDepth || node.type() != pugi::node_element;
  }
};

Status checkDocument(pugi::xml_document& document) {
  int elements = 0;
  for (const pugi::xml_node node : document.children()) {
    if (node.type() == pugi::node_doctype) return failure("it has a document type definition");
    if (node.type() == pugi::node_element) ++elements;
  }
  if (elements != 1) return failure("it has more than one root element");
  DepthCheck depthCheck;
  if (!document.traverse(depthCheck)) return failure("its elements are too deep");
  return {};
}

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
  auto status = checkBody(skipByteOrderMark(body));
  if (!status.isSuccess()) return status;

  const pugi::xml_parse_result result =
      document.load_buffer_inplace(body.data(), body.size(), kParseOptions, pugi::encoding_utf8);
  if (!result) {
    document.reset();
    return failure(std::string(result.description()) + " at byte " + std::to_string(result.offset));
  }
  status = checkDocument(document);
  if (!status.isSuccess()) document.reset();
  return status;
}

bool isNamed(pugi::xml_node node, const char* localName) {
  const char* name = node.name();  // of the nodes that are kept, only elements have a name
  if (*name == '\0') return false;
  if (std::strcmp(name, localName) == 0) return true;
  const char* colon = std::strchr(name, ':');
  return colon != nullptr && std::strcmp(colon + 1, localName) == 0;
}

// Both first use the library's lookup, for the name without a prefix. That is the usual case, and
// it is much cheaper than comparing the names one by one here.

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

Document::Document(std::string body)
    : body_(std::make_shared<std::string>(std::move(body))), status_(parse(*body_, document_)) {}

std::string_view Document::text(pugi::xml_node element) {
  std::string_view joined = element.value();
  auto piece = element.first_child();
  if (!piece) return joined;  // nearly always
  for (; piece; piece = piece.next_sibling()) {
    if (!isText(piece)) continue;
    const std::string_view next = piece.value();
    if (joined.empty()) {
      joined = next;
    } else if (!next.empty()) {
      // There is room, because the pieces were separated by markup.
      char* start = placeOf(joined.data());
      std::memmove(start + joined.size(), next.data(), next.size());
      joined = {start, joined.size() + next.size()};
    }
  }
  return joined;
}

std::string_view Document::replace(std::string_view text, const std::string& bytes) {
  if (bytes.empty()) return {};
  char* start = placeOf(text.data());
  std::copy(bytes.begin(), bytes.end(), start);
  return {start, bytes.size()};
}

}  // namespace CloudStorage::Util::Xml
