#include "suggestion.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "text.h"

namespace tool {
namespace {

/// The number of letters to insert, remove, replace or exchange with the next one.
std::size_t distance(const std::string& from, const std::string& to) {
  std::vector<std::size_t> beforeLast(to.size() + 1);
  std::vector<std::size_t> last(to.size() + 1);
  std::vector<std::size_t> row(to.size() + 1);
  for (std::size_t j = 0; j <= to.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= from.size(); ++i) {
    beforeLast = std::exchange(last, row);
    row[0] = i;
    for (std::size_t j = 1; j <= to.size(); ++j) {
      const std::size_t replaced = last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
      row[j] = std::min({replaced, last[j] + 1, row[j - 1] + 1});
      const bool isExchanged =
          i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
      if (isExchanged) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
    }
  }
  return row[to.size()];
}

/// The only one of `known` that begins with `word`; empty if there is none or more than one.
std::string completed(const std::string& word, const std::vector<std::string>& known) {
  std::string found;
  for (const std::string& candidate : known) {
    if (upperCase(candidate.substr(0, word.size())) != word) continue;
    if (!found.empty()) return {};
    found = candidate;
  }
  return found;
}

}  // namespace

std::string closest(const std::string& word, const std::vector<std::string>& known) {
  const std::string letters = upperCase(word);
  constexpr std::size_t kShortestAbbreviation = 3;
  if (letters.size() >= kShortestAbbreviation) {
    if (std::string found = completed(letters, known); !found.empty()) return found;
  }
  std::string found;
  // A third of the letters may be wrong, and one of a short word.
  std::size_t limit = (letters.size() + 2) / 3;
  for (const std::string& candidate : known) {
    if (candidate.size() > letters.size() + limit) continue;
    const std::size_t errors = distance(letters, upperCase(candidate));
    if (errors < limit || (errors == limit && found.empty())) {
      found = candidate;
      limit = errors;
    }
  }
  return found;
}

}  // namespace tool
