#pragma once

#include <cstddef>
#include <string_view>

namespace CloudStorage::Recording {

/// One sign between a name and its value, in one of its spellings.
struct Sign {
  char meaning;
  std::string_view spelling;
};

/// The sign with which `text` begins; null if it begins with none.
const Sign* signAt(std::string_view text);

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
  bool add(const Sign& sign, char previous);
};

/// The separator with which `text`, which follows a name, begins.
Separator separatorOf(std::string_view text);

/// The position of the quote that ends the value at the beginning of `text`.
std::size_t closingQuote(std::string_view text, const Separator& separator);

/// The position of the sign that ends the bare value at the beginning of `text`.
std::size_t endOfBare(std::string_view text, const Separator& separator);

/// The same for the value of a header, which ends with its line.
std::size_t endOfHeader(std::string_view text, const Separator& separator);

}  // namespace CloudStorage::Recording
