#include "Util/Xml.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

#include "Util/Text.h"

namespace CloudStorage::Util::Xml {
namespace {

constexpr int kMaxDepth = 64;

/// A document needs 64 bytes per element or piece of text and 40 per attribute, so a body that
/// consists of markup alone would grow to 26 times its size. The longest listings have about 17
/// pieces per entry and 100,000 entries.
constexpr std::size_t kMaxPieces = 2'000'000;

/// The document type is parsed only to detect it. White space between elements is dropped; it is
/// kept if an element contains nothing else. Text at the beginning of an element becomes the
/// element's value instead of a child node, which saves a third of a listing's nodes. References
/// are left alone: the parser would decode `&#0;` to a NUL, which truncates a name, and others to
/// bytes that are not UTF-8.
constexpr unsigned int kParseOptions = pugi::parse_cdata | pugi::parse_eol |
                                       pugi::parse_wconv_attribute | pugi::parse_doctype |
                                       pugi::parse_ws_pcdata_single | pugi::parse_embed_pcdata;

constexpr std::uint32_t kReplacementCharacter = 0xFFFD;

/// A reference at the beginning of a text. The length is 0 if there is none.
struct Reference {
  std::uint32_t character = 0;
  std::size_t length = 0;
};

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

Reference namedReference(std::string_view text) {
  constexpr std::pair<std::string_view, char> kNames[] = {
      {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
  for (const auto& [name, character] : kNames) {
    if (text.substr(0, name.size()) == name) {
      return {static_cast<std::uint32_t>(character), name.size()};
    }
  }
  return {};
}

Reference numericReference(std::string_view text) {
  constexpr std::uint32_t kBeyondUnicode = 0x110000;
  const bool isHexadecimal = text.substr(0, 3) == "&#x";
  const std::uint32_t base = isHexadecimal ? 16 : 10;
  const std::size_t start = isHexadecimal ? 3 : 2;
  std::size_t at = start;
  std::uint32_t character = 0;
  for (; at < text.size() && digitValue(text[at], base) < base; ++at) {
    character = std::min(character * base + digitValue(text[at], base), kBeyondUnicode);
  }
  if (at == start || at == text.size() || text[at] != ';') return {};

  const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
  const bool isCharacter = character != 0 && character < kBeyondUnicode && !isSurrogate;
  return {isCharacter ? character : kReplacementCharacter, at + 1};
}

/// Writes `character` in UTF-8 and returns the end.
char* writeUtf8(char* to, std::uint32_t character) {
  const auto put = [&](std::uint32_t byte) { *to++ = static_cast<char>(byte); };
  if (character < 0x80) {
    put(character);
    return to;
  }
  if (character < 0x800) {
    put(0xC0 | (character >> 6));
  } else if (character < 0x10000) {
    put(0xE0 | (character >> 12));
    put(0x80 | ((character >> 6) & 0x3F));
  } else {
    put(0xF0 | (character >> 18));
    put(0x80 | ((character >> 12) & 0x3F));
    put(0x80 | ((character >> 6) & 0x3F));
  }
  put(0x80 | (character & 0x3F));
  return to;
}

/// Decodes the references in a text in place and returns its new size. No reference is shorter than
/// what it stands for.
std::size_t decodeReferences(char* text, std::size_t size) {
  const std::string_view encoded(text, size);
  std::size_t from = encoded.find('&');
  if (from == std::string_view::npos) return size;
  char* to = text + from;
  while (from < size) {
    const std::string_view rest = encoded.substr(from);
    const Reference reference =
        rest.substr(0, 2) == "&#" ? numericReference(rest) : namedReference(rest);
    if (reference.length > 0) {
      to = writeUtf8(to, reference.character);
      from += reference.length;
      continue;
    }
    const std::size_t next = std::min(encoded.find('&', from + 1), size);
    to = std::copy(text + from, text + next, to);
    from = next;
  }
  return static_cast<std::size_t>(to - text);
}

/// An upper bound of the elements, pieces of text and attributes in `body`.
std::size_t countPieces(std::string_view body) {
  std::size_t pieces = 0;
  char previous = '>';
  for (std::size_t i = 0; i < body.size(); ++i) {
    if (body[i] == '=') ++pieces;
    if (body[i] == '<') {
      if (previous != '>') ++pieces;
      if (i + 1 < body.size() && body[i + 1] != '/') ++pieces;
    }
    previous = body[i];
  }
  return pieces;
}

/// Counts only if the body is large enough for that many pieces, because counting costs a fifth of
/// the time that parsing takes.
bool hasTooManyPieces(std::string_view body) {
  return body.size() > kMaxPieces && countPieces(body) > kMaxPieces;
}

Status refused(int code, const std::string& reason) {
  return {code, "The XML cannot be used: " + reason + "."};
}

Status notXml(const std::string& reason) { return refused(kNotXml, reason); }

/// Whether `body` is worth parsing.
Status checkBody(std::string_view body) {
  const std::size_t start = body.find_first_not_of(" \t\r\n");
  if (start == std::string_view::npos) return notXml("it is empty");
  if (body[start] != '<') return notXml("it does not begin with an element");
  if (body.find('\0') != std::string_view::npos) return notXml("it holds a byte of value 0");
  if (hasTooManyPieces(body)) return refused(kTooLarge, "it has too many elements");
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
    if (node.type() == pugi::node_doctype) {
      return refused(kForbidden, "it has a document type definition");
    }
    if (node.type() == pugi::node_element) ++elements;
  }
  if (elements != 1) return notXml("it has more than one root element");
  DepthCheck depthCheck;
  if (!document.traverse(depthCheck)) return refused(kForbidden, "its elements are too deep");
  return {};
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
  if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
  if (!result) {
    document.reset();
    return notXml(std::string(result.description()) + " at byte " + std::to_string(result.offset));
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

// First uses the library's lookup, for the name without a prefix. That is the usual case, and it is
// much cheaper than comparing the names one by one here.
pugi::xml_node child(pugi::xml_node parent, const char* localName) {
  auto node = parent.child(localName);
  if (node) return node;
  node = parent.first_child();
  while (node && !isNamed(node, localName)) node = node.next_sibling();
  return node;
}

pugi::xml_node lastChild(pugi::xml_node parent, const char* localName) {
  auto node = parent.last_child();
  while (node && !isNamed(node, localName)) node = node.previous_sibling();
  return node;
}

std::string text(pugi::xml_node element) {
  std::string pieces;
  const auto append = [&](pugi::xml_node node) {
    const std::size_t start = pieces.size();
    pieces += node.value();
    if (node.type() == pugi::node_cdata) return;
    pieces.resize(start + decodeReferences(pieces.data() + start, pieces.size() - start));
  };
  append(element);
  for (auto piece = element.first_child(); piece; piece = piece.next_sibling()) {
    if (isText(piece)) append(piece);
  }
  return pieces;
}

Document::Document(std::string body) : storage_(std::make_shared<Storage>()) {
  storage_->body = std::move(body);
  hasReferences_ = storage_->body.find('&') != std::string::npos;
  status_ = parse(storage_->body, document_);
}

std::string_view Document::piece(pugi::xml_node node) {
  const std::string_view value = node.value();
  if (!hasReferences_ || value.empty() || node.type() == pugi::node_cdata) return value;
  return {value.data(), decodeReferences(placeOf(value.data()), value.size())};
}

std::string_view Document::text(pugi::xml_node element) {
  std::string_view joined = piece(element);
  for (auto node = element.first_child(); node; node = node.next_sibling()) {
    if (!isText(node)) continue;
    const std::string_view next = piece(node);
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

std::string_view Document::replace(std::string_view text, std::string bytes) {
  if (bytes.empty()) return {};
  if (bytes.size() > text.size()) return storage_->longerTexts.emplace_back(std::move(bytes));
  char* start = placeOf(text.data());
  std::copy(bytes.begin(), bytes.end(), start);
  return {start, bytes.size()};
}

}  // namespace CloudStorage::Util::Xml
