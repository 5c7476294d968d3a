#include "Auth/Redactor.h"

#include <algorithm>
#include <charconv>

#include "Auth/Digest.h"
#include "Util/Text.h"

namespace CloudStorage::Auth {
namespace {

constexpr std::string_view kMask = "***";

/// The longest character of UTF-8: so much more than a line may hold makes sure that its last
/// character is complete.
constexpr std::size_t kLongestCharacter = 4;

/// Error marshallers keep no less than this of a text that they truncate.
constexpr std::size_t kShortestTruncatedText = 250;
/// The beginning of a secret at the end of such a text. Anything shorter may be there by chance,
/// and is of no use.
constexpr std::size_t kShortestPart = 4;

/// Parts of texts in Base64 that are shorter may be anywhere by chance.
constexpr std::size_t kShortestBase64 = 8;

/// How many bytes may be compared for a text: enough for any text but one that is made to cost as
/// much as possible. Takes about a second.
constexpr std::size_t kMostWork = 500'000'000;

/// A way to write the bytes of a word: the number of characters at the beginning of `text`, which
/// is not empty, that mean `byte`; 0 if they mean anything else.
using Spelling = std::size_t (*)(std::string_view text, char byte);

std::size_t plain(std::string_view text, char byte) { return text.front() == byte ? 1 : 0; }

// Whether the first `count` characters of `text` are the number of `byte`.
bool isHexOf(std::string_view text, std::size_t count, char byte) {
  if (text.size() < count) return false;
  constexpr int kBase = 16;
  unsigned value = 0;
  const char* const end = text.data() + count;
  return std::from_chars(text.data(), end, value, kBase).ptr == end &&
         value == static_cast<unsigned char>(byte);
}

// Also the form in which forms encode spaces.
std::size_t percentEncoded(std::string_view text, char byte) {
  if (text.front() == '%') return isHexOf(text.substr(1), 2, byte) ? 3 : 0;
  return text.front() == byte || (text.front() == '+' && byte == ' ') ? 1 : 0;
}

std::size_t escapedAsInJson(std::string_view text, char byte) {
  if (text.front() != '\\') return plain(text, byte);
  if (text.size() < 2) return 0;
  constexpr std::string_view kLetters = "\"\\/bfnrt";
  constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
  if (text[1] == 'u') return isHexOf(text.substr(2), 4, byte) ? 6 : 0;
  const auto letter = kLetters.find(text[1]);
  return letter != std::string_view::npos && kMeanings[letter] == byte ? 2 : 0;
}

/// The spellings beside the plain one, and the characters without which a text has none of them.
constexpr Spelling kEncodings[] = {percentEncoded, escapedAsInJson};
constexpr std::string_view kSignsOfEncoding = "%+\\";

// Whether `text` is the beginning of an encoded byte, of which the rest is missing.
bool isCutOff(std::string_view text) {
  if (text.empty()) return true;
  return (text.front() == '%' && text.size() < 3) || (text.front() == '\\' && text.size() < 6);
}

// The length of `word` at the beginning of `text`; 0 if it is not there.
std::size_t lengthIn(std::string_view text, std::string_view word, Spelling spelling,
                     bool mayBeCutOff, std::size_t& work) {
  std::size_t length = 0;
  for (std::size_t index = 0; index < word.size(); ++index, ++work) {
    const std::string_view rest = text.substr(length);
    const std::size_t characters = rest.empty() ? 0 : spelling(rest, word[index]);
    if (characters == 0) {
      return mayBeCutOff && index >= kShortestPart && isCutOff(rest) ? text.size() : 0;
    }
    length += characters;
  }
  return length;
}

// The part that is the same in every text in Base64 that contains `secret` after `offset` bytes
// modulo 3: the characters beside it also encode bytes of what surrounds the secret.
std::string base64Part(std::string_view secret, std::size_t offset) {
  constexpr std::size_t kBitsOfByte = 8;
  constexpr std::size_t kBitsOfCharacter = 6;
  const std::string text = base64Encode(std::string(offset, '\0').append(secret));
  const std::size_t begin = (offset * kBitsOfByte + kBitsOfCharacter - 1) / kBitsOfCharacter;
  const std::size_t end = (offset + secret.size()) * kBitsOfByte / kBitsOfCharacter;
  return end > begin ? text.substr(begin, end - begin) : std::string();
}

}  // namespace

Redactor::Redactor(const std::vector<std::string>& secrets) {
  for (const std::string& given : secrets) {
    const std::string_view secret = Util::trimmed(given);
    if (secret.empty()) continue;
    add(std::string(secret));
    add(Util::oneLine(secret, std::string::npos));  // as line() finds it in a text
    addBase64(secret);
  }
}

void Redactor::add(std::string word) {
  if (word.empty() || std::find(words_.begin(), words_.end(), word) != words_.end()) return;
  for (const char first : {word.front(), '%', '\\'}) {
    isFirst_.at(static_cast<unsigned char>(first)) = true;
  }
  words_.push_back(std::move(word));
}

void Redactor::addBase64(std::string_view secret) {
  std::vector<std::string> forms{base64Encode(secret)};
  std::string unpadded = forms.front().substr(0, forms.front().find('='));
  for (std::string part :
       {unpadded, base64Part(secret, 0), base64Part(secret, 1), base64Part(secret, 2)}) {
    if (part.size() >= kShortestBase64) forms.push_back(std::move(part));
  }
  for (std::string& form : forms) {
    std::string inUrls = form;
    std::replace(inUrls.begin(), inUrls.end(), '+', '-');
    std::replace(inUrls.begin(), inUrls.end(), '/', '_');
    add(std::move(inUrls));
    add(std::move(form));
  }
}

std::string Redactor::line(std::string_view text) const {
  const std::string whole = Util::oneLine(text, std::string::npos);
  const bool mayBeEncoded = whole.find_first_of(kSignsOfEncoding) != std::string::npos;
  const bool mayBeCutOff = whole.size() >= kShortestTruncatedText;
  // What follows the text that fits is not searched.
  std::string redacted;
  std::string_view rest = whole;
  std::size_t work = 0;
  while (!rest.empty() && redacted.size() < Util::kLineLimit + kLongestCharacter) {
    const std::size_t length = matchAt(rest, mayBeEncoded, mayBeCutOff, work);
    redacted += length == 0 ? rest.substr(0, 1) : kMask;
    rest.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return Util::oneLine(redacted);
}

std::string Redactor::text(std::string_view text, std::string_view mask) const {
  const bool mayBeEncoded = text.find_first_of(kSignsOfEncoding) != std::string_view::npos;
  const bool mayBeCutOff = text.size() >= kShortestTruncatedText;
  std::string redacted;
  redacted.reserve(text.size());
  std::size_t work = 0;
  while (!text.empty()) {
    const std::size_t length = matchAt(text, mayBeEncoded, mayBeCutOff, work);
    if (work > kMostWork) return std::string(mask);
    redacted += length == 0 ? text.substr(0, 1) : mask;
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return redacted;
}

std::size_t Redactor::matchAt(std::string_view text, bool mayBeEncoded, bool mayBeCutOff,
                              std::size_t& work) const {
  const char first = text.front();
  if (!isFirst_.at(static_cast<unsigned char>(first))) return 0;
  const bool isEncoded = mayBeEncoded && (first == '%' || first == '\\');
  std::size_t longest = 0;
  work += words_.size();
  for (const std::string& word : words_) {
    if (first != word.front() && !isEncoded) continue;
    longest = std::max(longest, lengthIn(text, word, plain, mayBeCutOff, work));
    if (!mayBeEncoded) continue;
    for (const Spelling encoding : kEncodings) {
      longest = std::max(longest, lengthIn(text, word, encoding, mayBeCutOff, work));
    }
  }
  return longest;
}

}  // namespace CloudStorage::Auth
