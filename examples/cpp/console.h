// What the host reads from its user.
#pragma once

#include <cstddef>
#include <string>

// Throws std::runtime_error at the end of the input.
std::string readLine(const std::string& prompt);

// The number that `text` consists of; 0 for any other text.
std::size_t numberIn(const std::string& text);

// The authorization code in what the user has pasted: the address of the redirect page, or the code
// alone, which is percent-encoded if it was copied out of the address. Throws std::runtime_error if
// there is none.
std::string codeIn(const std::string& pasted);
