#include "Auth/Redactor.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "Auth/Digest.h"
#include "Util/CharacterEscapes.h"
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
/// To read an escape takes as long as to compare so many bytes.
constexpr std::size_t kWorkOfEscape = 32;

/// A way to write texts: one encoding within another, or one alone.
struct Spelling {
  Util::CharacterReader outer;
  Util::CharacterReader inner;

  /// How many characters at the beginning of `text`, which is not empty, mean `byte`; 0 if they
  /// mean anything else.
  std::size_t lengthOf(std::string_view text, char byte) const {
    const auto character = Util::readNested(text, outer, inner);
    if (character.code == static_cast<unsigned char>(byte)) return character.size;
    // In forms a plus sign means a space.
    const bool isOfForms = outer == Util::readPercentEncoded || inner == Util::readPercentEncoded;
    return isOfForms && byte == ' ' && text.front() == '+' ? 1 : 0;
  }
};

/// All but the plain one.
constexpr Spelling kSpellings[] = {
    {Util::readPlain, Util::readPercentEncoded},
    {Util::readPlain, Util::readBackslashEscaped},
    {Util::readPlain, Util::readCharacterReference},
    {Util::readPercentEncoded, Util::readPercentEncoded},
    {Util::readPercentEncoded, Util::readBackslashEscaped},
    {Util::readPercentEncoded, Util::readCharacterReference},
    {Util::readBackslashEscaped, Util::readPercentEncoded},
    {Util::readBackslashEscaped, Util::readBackslashEscaped},
    {Util::readBackslashEscaped, Util::readCharacterReference},
    {Util::readCharacterReference, Util::readPercentEncoded},
    {Util::readCharacterReference, Util::readBackslashEscaped},
    {Util::readCharacterReference, Util::readCharacterReference},
};
/// The characters without which a text has no spelling but the plain one.
constexpr std::string_view kSignsOfEncoding = "%+\\&";

bool isSignOfEscape(char character) {
  return Util::kSignsOfEscapes.find(character) != std::string_view::npos;
}

// Whether `text` may be the beginning of an encoded byte, of which the rest is missing.
bool isCutOff(std::string_view text) {
  if (text.empty()) return true;
  return isSignOfEscape(text.front()) && text.size() < Util::kLongestEscape &&
         text.find(' ') == std::string_view::npos;
}

/// How much of a word is at the beginning of a text.
struct Match {
  std::size_t length;  ///< in the text
  bool isWhole;
};

Match plainMatch(std::string_view text, std::string_view word) {
  const std::size_t longest = std::min(text.size(), word.size());
  const auto* const end = std::mismatch(word.begin(), word.begin() + longest, text.begin()).first;
  const auto length = static_cast<std::size_t>(end - word.begin());
  return {length, length == word.size()};
}

/// What an escape means in each of the spellings. Kept, because many words are compared with it.
class Readings {
 public:
  using Characters = std::array<Util::WrittenCharacter, std::size(kSpellings)>;

  /// Of the beginning of `text`, which is not empty.
  const Characters& of(std::string_view text, std::size_t& work) {
    if (text.data() == text_) return characters_;
    text_ = text.data();
    for (std::size_t index = 0; index < characters_.size(); ++index) {
      const Spelling& spelling = kSpellings[index];
      characters_.at(index) = Util::readNested(text, spelling.outer, spelling.inner);
    }
    work += characters_.size() * kWorkOfEscape;
    return characters_;
  }

 private:
  const char* text_ = nullptr;
  Characters characters_{};
};

/// How much of a word is known to be at the beginning of a text.
struct Known {
  std::size_t ofWord;
  std::size_t ofText;
};

// The length of `word` at the beginning of `text`; 0 if it is not there.
std::size_t lengthIn(std::string_view text, std::string_view word, Known known,
                     const Spelling& spelling, bool mayBeCutOff, std::size_t& work) {
  std::size_t length = known.ofText;
  for (std::size_t index = known.ofWord; index < word.size(); ++index) {
    const std::string_view rest = text.substr(length);
    work += !rest.empty() && isSignOfEscape(rest.front()) ? kWorkOfEscape : 1;
    const std::size_t characters = rest.empty() ? 0 : spelling.lengthOf(rest, word[index]);
    if (characters == 0) {
      return mayBeCutOff && index >= kShortestPart && isCutOff(rest) ? text.size() : 0;
    }
    length += characters;
  }
  return length;
}

// The same for any spelling.
std::size_t lengthIn(std::string_view text, std::string_view word, Readings& readings,
                     bool mayBeEncoded, bool mayBeCutOff, std::size_t& work) {
  const Match plain = plainMatch(text, word);
  work += plain.length;
  const bool isEnd = plain.length == text.size() && plain.length >= kShortestPart;
  std::size_t longest = plain.isWhole || (mayBeCutOff && isEnd) ? plain.length : 0;
  if (!mayBeEncoded) return longest;
  // An escape is needed up to where the text differs from the word.
  const std::size_t sign = text.substr(0, plain.length + 1).find_first_of(kSignsOfEncoding);
  if (sign == std::string_view::npos || sign >= word.size()) return longest;
  const auto& characters = readings.of(text.substr(sign), work);
  for (std::size_t index = 0; index < characters.size(); ++index) {
    const auto [code, size] = characters.at(index);
    ++work;
    // Without a size the escape is cut off. A plus sign may be a space.
    const bool isKnown = size != 0 && text[sign] != '+';
    if (isKnown && code != static_cast<unsigned char>(word[sign])) continue;
    const Known known = isKnown ? Known{sign + 1, sign + size} : Known{sign, sign};
    longest = std::max(longest, lengthIn(text, word, known, kSpellings[index], mayBeCutOff, work));
  }
  return longest;
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
  isFirst_.at(static_cast<unsigned char>(word.front())) = true;
  for (const char sign : Util::kSignsOfEscapes) {
    isFirst_.at(static_cast<unsigned char>(sign)) = true;
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
    if (work > kMostWork) return std::string(kMask);
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
  std::size_t longest = 0;
  Readings readings;
  work += words_.size();
  for (const std::string& word : words_) {
    if (first != word.front()) continue;
    longest = std::max(longest, lengthIn(text, word, readings, mayBeEncoded, mayBeCutOff, work));
  }
  if (!mayBeEncoded || !isSignOfEscape(first)) return longest;
  const auto& characters = readings.of(text, work);
  for (std::size_t index = 0; index < characters.size(); ++index) {
    const auto [code, size] = characters.at(index);
    ++work;
    if (size <= 1) continue;  // is no escape
    for (const std::string& word : words_) {
      if (code != static_cast<unsigned char>(word.front())) continue;
      longest =
          std::max(longest, lengthIn(text, word, {1, size}, kSpellings[index], mayBeCutOff, work));
    }
  }
  return longest;
}

}  // namespace CloudStorage::Auth
