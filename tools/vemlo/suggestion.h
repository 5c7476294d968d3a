#pragma once

#include <string>
#include <vector>

namespace tool {

/// The one of `known` that `word` most likely stands for, as an abbreviation or a misspelling in
/// any case; empty if it resembles none of them.
std::string closest(const std::string& word, const std::vector<std::string>& known);

}  // namespace tool
