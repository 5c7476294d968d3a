#include "Recording/SecretFields.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "Util/Text.h"

namespace CloudStorage::Recording {
namespace {

constexpr auto kNone = std::string_view::npos;

/// Names without underscores and hyphens, in lower case.
constexpr std::string_view kNames[] = {
    "accesskeyid",   "accesstoken",       "accountkey",
    "assertion",     "awsaccesskeyid",    "awssecretaccesskey",
    "clientsecret",  "clientassertion",   "codeverifier",
    "devicecode",    "idtoken",           "password",
    "refreshtoken",  "secretaccesskey",   "secretkey",
    "sessiontoken",  "sharedaccesskey",   "sig",
    "signature",     "tempauth",          "xamzcredential",
    "xamzsignature", "xamzsecuritytoken",
};
/// Names that are secret as those of parameters only. A member named "code" states an error's.
constexpr std::string_view kParameters[] = {"code",  "codechallenge", "credential", "nonce",
                                            "state", "sessionstate",  "token"};
constexpr std::string_view kElements[] = {
    "authenticationerrordetail", "awsaccesskeyid",    "canonicalrequest", "canonicalrequestbytes",
    "signatureprovided",         "stringtosignbytes", "stringtosign",
};
constexpr std::size_t kLongestName = 32;

template <std::size_t Count>
bool contains(const std::string_view (&names)[Count], std::string_view name) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

bool isOfName(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '-';
}

std::string normalized(std::string_view name) {
  std::string text = Util::lowerCase(name);
  text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == '_' || c == '-'; }),
             text.end());
  return text;
}

bool startsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

bool endsWith(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

/// One sign between a name and its value, in one of its spellings.
struct Sign {
  char meaning;
  std::string_view spelling;
};
constexpr Sign kSigns[] = {
    {'=', "="},     {':', ":"},       {'"', "\""},      {'\'', "'"},      {' ', " "},
    {' ', "\t"},    {' ', "\n"},      {' ', "\r"},      {'\\', "\\"},     {'=', "%3D"},
    {'=', "%3d"},   {':', "%3A"},     {':', "%3a"},     {'"', "%22"},     {'"', "&quot;"},
    {'"', "&#34;"}, {'=', "\\u003d"}, {'=', "\\u003D"}, {'"', "\\u0022"}, {' ', "%20"},
};

const Sign* signAt(std::string_view text) {
  const Sign* longest = nullptr;
  for (const Sign& sign : kSigns) {
    if (startsWith(text, sign.spelling) &&
        (longest == nullptr || sign.spelling.size() > longest->spelling.size())) {
      longest = &sign;
    }
  }
  return longest;
}

/// What separates a name from its value.
struct Separator {
  std::size_t size = 0;
  /// The equals sign or the colon; null if there is none.
  const Sign* assignment = nullptr;
  /// The quote at which the value begins; null if it is bare.
  const Sign* quote = nullptr;
  bool isQuoteEscaped = false;
  bool isNameQuoted = false;

  /// Returns false if `sign` is part of the value.
  bool add(const Sign& sign, char previous) {
    const bool isAssignment = sign.meaning == '=' || sign.meaning == ':';
    const bool isQuote = sign.meaning == '"' || sign.meaning == '\'';
    if (isAssignment && assignment != nullptr) return false;
    if (isAssignment) assignment = &sign;
    if (isQuote && assignment == nullptr) isNameQuoted = true;
    if (isQuote && assignment != nullptr) {
      quote = &sign;
      isQuoteEscaped = previous == '\\';
    }
    size += sign.spelling.size();
    return true;
  }
};

Separator separatorOf(std::string_view text) {
  constexpr std::size_t kLongest = 64;
  Separator separator;
  const Sign* sign = signAt(text);
  char previous = '\0';
  while (sign != nullptr && separator.size < kLongest && separator.quote == nullptr) {
    if (!separator.add(*sign, previous)) break;
    previous = sign->meaning;
    sign = signAt(text.substr(separator.size));
  }
  return separator;
}

// The position of the quote that ends the value at the beginning of `text`.
std::size_t closingQuote(std::string_view text, const Separator& separator) {
  const std::string_view quote = separator.quote->spelling;
  if (separator.isQuoteEscaped) return text.find(std::string("\\").append(quote));
  std::size_t position = 0;
  while (position < text.size() && !startsWith(text.substr(position), quote)) {
    position += text[position] == '\\' ? 2 : 1;
  }
  return position;
}

// The position of the sign that ends the bare value at the beginning of `text`.
std::size_t endOfBare(std::string_view text, const Separator& separator) {
  const bool isParameter = separator.assignment->meaning == '=';
  constexpr std::string_view kEnds = "&#\"'<> \t\r\n\\,;)}]";
  constexpr std::size_t kEndsOfParameter = 10;
  text =
      text.substr(0, text.find_first_of(isParameter ? kEnds.substr(0, kEndsOfParameter) : kEnds));
  if (separator.assignment->spelling.size() == 1) return text.size();
  for (const std::string_view sign : {"%26", "%22", "%23"}) text = text.substr(0, text.find(sign));
  return text.size();
}

// JSON's values other than texts and numbers contain no secret.
bool isConstantOrGroup(std::string_view value) {
  return value.empty() || value.find_first_of("[{") == 0 || value == "null" || value == "true" ||
         value == "false";
}

class Scanner {
 public:
  Scanner(std::string_view text, TextKind kind) : text_(text), kind_(kind) {}

  std::vector<SecretField> run() {
    while (position_ < text_.size()) {
      const std::size_t begin = position_;
      while (position_ < text_.size() && isOfName(text_[position_])) ++position_;
      if (position_ == begin) {
        ++position_;
      } else {
        read(begin);
      }
    }
    return std::move(fields_);
  }

 private:
  // Reads the field whose name ends at the position, if it is one.
  void read(std::size_t begin) {
    begin += escapeLength(begin);
    const std::string_view given = text_.substr(begin, position_ - begin);
    if (given.empty() || given.size() > kLongestName) return;
    const std::string name = normalized(given);
    if (contains(kElements, name) && endsWith(text_.substr(0, begin), "<")) return readElement();
    if (contains(kNames, name) || (contains(kParameters, name) && isParameterAt(begin))) {
      readValue();
    }
  }

  // How many characters before a name are the rest of an escape, such as `%26` or `\u0026`.
  std::size_t escapeLength(std::size_t begin) const {
    const std::string_view before = text_.substr(0, begin);
    const std::size_t length = position_ - begin;
    if (endsWith(before, "%")) return std::min<std::size_t>(length, 2);
    if (endsWith(before, "\\")) return std::min<std::size_t>(length, text_[begin] == 'u' ? 5 : 1);
    return 0;
  }

  bool isParameterAt(std::size_t begin) const {
    const std::string_view before = text_.substr(0, begin);
    if (before.empty()) return kind_ == TextKind::Form;
    constexpr std::string_view kSeparators[] = {"?",   "&",   "#",     "%3F",    "%3f",
                                                "%26", "%23", "&amp;", "\\u0026"};
    return std::any_of(std::begin(kSeparators), std::end(kSeparators),
                       [&](std::string_view sign) { return endsWith(before, sign); });
  }

  void readElement() {
    const std::size_t open = std::min(text_.find('>', position_), text_.size() - 1);
    add(open + 1, text_.find("</", open), false);
  }

  void readValue() {
    const Separator separator = separatorOf(text_.substr(position_));
    if (separator.assignment == nullptr) return;
    const std::size_t begin = position_ + separator.size;
    const std::string_view rest = text_.substr(begin);
    const std::size_t size =
        separator.quote != nullptr ? closingQuote(rest, separator) : endOfBare(rest, separator);
    const bool isBareInJson = separator.quote == nullptr && separator.isNameQuoted;
    if (isBareInJson && isConstantOrGroup(rest.substr(0, size))) return;
    add(begin, size == kNone ? kNone : begin + size, isBareInJson);
  }

  void add(std::size_t begin, std::size_t end, bool isBareInJson) {
    end = std::min(end, text_.size());
    if (end > begin) fields_.push_back({begin, end - begin, isBareInJson});
    position_ = std::max(position_, end);
  }

  const std::string_view text_;
  const TextKind kind_;
  std::size_t position_ = 0;
  std::vector<SecretField> fields_;
};

// The value of an authorization header of AWS: the scheme, the scope and the signed headers stay.
// The key is separated from the four parts of the scope by a slash; it may contain slashes itself.
std::string maskAwsAuthorization(std::string_view value, std::string_view mask) {
  constexpr std::string_view kCredential = "Credential=";
  constexpr std::string_view kSignature = "Signature=";
  constexpr int kPartsOfScope = 4;
  const std::size_t credential = value.find(kCredential);
  const std::size_t signature = value.find(kSignature);
  if (credential == kNone || signature == kNone || signature < credential) {
    return std::string(value.substr(0, value.find(' ') + 1)).append(mask);
  }
  const std::size_t key = credential + kCredential.size();
  const std::size_t end = std::min(value.find(',', key), signature);
  std::size_t scope = end;
  for (int part = 0; part < kPartsOfScope && scope != kNone; ++part) {
    scope = scope > key ? value.rfind('/', scope - 1) : kNone;
  }
  if (scope == kNone || scope < key) scope = end;  // there is no scope
  std::string masked(value.substr(0, key));
  masked.append(mask).append(value.substr(scope, signature + kSignature.size() - scope));
  return masked.append(mask);
}

}  // namespace

std::vector<SecretField> secretFields(std::string_view text, TextKind kind) {
  return Scanner(text, kind).run();
}

std::string maskSecretFields(std::string_view text, TextKind kind, std::string_view mask) {
  std::string masked;
  masked.reserve(text.size());
  std::size_t copied = 0;
  for (const auto& [begin, size, isBareInJson] : secretFields(text, kind)) {
    masked += text.substr(copied, begin - copied);
    if (isBareInJson) masked += '"';
    masked += mask;
    if (isBareInJson) masked += '"';
    copied = begin + size;
  }
  return masked.append(text.substr(copied));
}

bool isSecretHeader(std::string_view name) {
  constexpr std::string_view kParts[] = {"authorization", "cookie",   "token",   "secret",
                                         "signature",     "password", "api-key", "credential"};
  return std::any_of(std::begin(kParts), std::end(kParts),
                     [&](std::string_view part) { return name.find(part) != kNone; });
}

std::string maskAuthorization(std::string_view value, std::string_view mask) {
  const std::size_t space = value.find(' ');
  if (space == kNone) return std::string(mask);
  const std::string scheme(value.substr(0, space + 1));
  const std::string_view rest = value.substr(space + 1);
  if (startsWith(scheme, "AWS4-")) return maskAwsAuthorization(value, mask);
  const std::size_t colon = rest.find(':');
  if (scheme == "SharedKey " && colon != kNone) {
    return scheme + std::string(rest.substr(0, colon + 1)).append(mask);
  }
  return scheme + std::string(mask);
}

}  // namespace CloudStorage::Recording
