#include "Recording/SecretFields.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "Recording/FieldSyntax.h"
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
/// Names that are secret as those of parameters only.
constexpr std::string_view kParameters[] = {"code",  "codechallenge", "credential", "nonce",
                                            "state", "sessionstate",  "token"};
constexpr std::string_view kElements[] = {
    "authenticationerrordetail", "awsaccesskeyid",    "canonicalrequest", "canonicalrequestbytes",
    "signatureprovided",         "stringtosignbytes", "stringtosign",
};
/// Names of headers, as texts quote them: the value ends with the line.
constexpr std::string_view kHeaders[] = {"authorization", "proxyauthorization", "cookie",
                                         "setcookie"};
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

// JSON's values other than texts and numbers contain no secret.
bool isConstantOrGroup(std::string_view value) {
  return value.empty() || value.find_first_of("[{") == 0 || value == "null" || value == "true" ||
         value == "false";
}

// A member named "code" contains an error's number or name, or an authorization code.
bool isAuthorizationCode(std::string_view value) {
  constexpr std::size_t kLongestWord = 20;
  return value.size() > kLongestWord && !std::all_of(value.begin(), value.end(), [](char c) {
           return (isOfName(c) && c != '-' && (c < '0' || c > '9')) || c == '.';
         });
}

// How many characters before the at sign of an address name a user, and the password. `text` is
// what follows the two slashes.
std::size_t userLength(std::string_view text, bool isEncoded) {
  constexpr std::size_t kLongest = 1024;
  text = text.substr(0, kLongest);
  text = text.substr(0, text.find_first_of("/?#\"'<> \t\r\n\\&"));
  if (!isEncoded) return text.rfind('@');
  for (const std::string_view sign : {"%2F", "%2f", "%3F", "%3f", "%23", "%26", "%22", "%20"}) {
    text = text.substr(0, text.find(sign));
  }
  const std::size_t at = text.rfind("%40");
  return at != kNone ? at : text.rfind('@');
}

class Scanner {
 public:
  Scanner(std::string_view text, TextKind kind) : text_(text), kind_(kind) {}

  std::vector<SecretField> run() {
    while (position_ < text_.size()) {
      const std::size_t begin = position_;
      while (position_ < text_.size() && isOfName(text_[position_])) ++position_;
      if (position_ != begin) {
        read(begin);
      } else if (!readUser()) {
        ++position_;
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
    const std::string_view sign = signOfElementAt(begin);
    if (!sign.empty()) {
      const bool isSecret = contains(kElements, name) || contains(kNames, name) || name == "token";
      if (isSecret) readElement(sign.size() > 1);
    } else if (contains(kHeaders, name)) {
      readValue(Value::Header);
    } else if (contains(kNames, name) || (contains(kParameters, name) && isParameterAt(begin))) {
      readValue(Value::Any);
    } else if (name == "token" || name == "code") {
      readValue(name == "token" ? Value::Member : Value::Code);
    }
  }

  // Reads what precedes the host in an address whose slashes begin at the position.
  bool readUser() {
    constexpr std::string_view kBegins[] = {"://", ":\\/\\/"};
    constexpr std::string_view kEncoded[] = {"%3A%2F%2F", "%3a%2f%2f"};
    const std::string_view rest = text_.substr(position_);
    const auto read = [&](std::string_view sign, bool isEncoded) {
      if (!startsWith(rest, sign)) return false;
      const std::size_t size = userLength(rest.substr(sign.size()), isEncoded);
      if (size == kNone || size == 0) return false;
      const std::size_t begin = position_ + sign.size();
      add(begin, begin + size, false);
      return true;
    };
    return std::any_of(std::begin(kBegins), std::end(kBegins),
                       [&](std::string_view sign) { return read(sign, false); }) ||
           std::any_of(std::begin(kEncoded), std::end(kEncoded),
                       [&](std::string_view sign) { return read(sign, true); });
  }

  // The sign before the name of an XML element, perhaps with a prefix, that begins there; empty if
  // it is none.
  std::string_view signOfElementAt(std::size_t begin) const {
    std::string_view before = text_.substr(0, begin);
    if (endsWith(before, ":")) {
      before.remove_suffix(1);
      for (std::size_t count = 0; count < kLongestName && !before.empty(); ++count) {
        if (!isOfName(before.back())) break;
        before.remove_suffix(1);
      }
    }
    for (const std::string_view sign : {"<", "&lt;"}) {
      if (endsWith(before, sign)) return sign;
    }
    return {};
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

  void readElement(bool isEscaped) {
    const std::string_view open = isEscaped ? "&gt;" : ">";
    const std::size_t begin = std::min(text_.find(open, position_), text_.size() - open.size());
    add(begin + open.size(), text_.find(isEscaped ? "&lt;/" : "</", begin), false);
  }

  /// The kinds of values.
  enum class Value {
    Any,
    Header,
    Member,  ///< only with a name in quotes
    Code,    ///< the same, if it is an authorization code
  };

  void readValue(Value kind) {
    const Separator separator = separatorOf(text_.substr(position_));
    if (separator.assignment == nullptr) return;
    const bool isMember = kind == Value::Member || kind == Value::Code;
    if (isMember && !separator.isNameQuoted) return;
    const std::size_t begin = position_ + separator.size;
    const std::string_view rest = text_.substr(begin);
    const bool isBareInJson = separator.quote == nullptr && separator.isNameQuoted;
    if (isBareInJson && startsWith(rest, "[") && kind != Value::Code) return readArray(begin);
    const std::size_t size = sizeOf(rest, separator, kind);
    const std::string_view value = rest.substr(0, size);
    if (isBareInJson && isConstantOrGroup(value)) return;
    if (kind == Value::Code && (isBareInJson || !isAuthorizationCode(value))) return;
    add(begin, size == kNone ? kNone : begin + size, isBareInJson);
  }

  static std::size_t sizeOf(std::string_view rest, const Separator& separator, Value kind) {
    if (separator.quote != nullptr) return closingQuote(rest, separator);
    const bool isHeader = kind == Value::Header && !separator.isNameQuoted;
    return isHeader ? endOfHeader(rest, separator) : endOfBare(rest, separator);
  }

  // Reads the texts and numbers of the array at `begin`, also those in arrays within it.
  void readArray(std::size_t begin) {
    std::size_t depth = 0;
    char previous = '\0';
    for (position_ = begin; position_ < text_.size();) {
      const char c = text_[position_];
      if (c == '{') return;
      if (!readElement(c, previous == '\\')) {
        depth += c == '[' ? 1 : 0;
        depth -= c == ']' ? 1 : 0;
        ++position_;
        if (depth == 0) return;
      }
      previous = c;
    }
  }

  // Returns false if neither a text nor a number begins with `c`, which is at the position.
  bool readElement(char c, bool isEscaped) {
    const Sign* const sign = signAt(text_.substr(position_));
    if (sign != nullptr && sign->meaning == '"') {
      readElementInQuotes(*sign, isEscaped);
      return true;
    }
    if (c != '-' && (c < '0' || c > '9')) return false;
    add(position_, text_.find_first_of(",] \t\r\n", position_), true);
    return true;
  }

  void readElementInQuotes(const Sign& quote, bool isEscaped) {
    Separator separator;
    separator.quote = &quote;
    separator.isQuoteEscaped = isEscaped;
    const std::size_t begin = position_ + quote.spelling.size();
    const std::size_t size = closingQuote(text_.substr(begin), separator);
    add(begin, size == kNone ? kNone : begin + size, false);
    position_ = std::max(position_, begin);
    if (position_ < text_.size()) position_ += quote.spelling.size() + (isEscaped ? 1 : 0);
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
