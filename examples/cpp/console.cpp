#include "console.h"

#include <iostream>
#include <stdexcept>
#include <string_view>

namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kHexadecimal = "0123456789abcdefABCDEF";

bool consistsOf(std::string_view text, std::string_view characters) {
  return !text.empty() && text.find_first_not_of(characters) == std::string_view::npos;
}

std::string percentDecoded(const std::string& text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::string digits = text.substr(i + 1, 2);
    if (text[i] == '%' && digits.size() == 2 && consistsOf(digits, kHexadecimal)) {
      decoded += static_cast<char>(std::stoi(digits, nullptr, 16));
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

}  // namespace

std::string readLine(const std::string& prompt) {
  std::string line;
  std::cout << prompt << std::flush;
  if (!std::getline(std::cin, line)) throw std::runtime_error("No folder was chosen.");
  return line;
}

std::size_t numberIn(const std::string& text) {
  constexpr std::size_t kMostDigits = 9;
  return consistsOf(text, kDigits) && text.size() <= kMostDigits ? std::stoul(text) : 0;
}

std::string codeIn(const std::string& pasted) {
  const std::size_t query = pasted.find('?');
  if (query == std::string::npos) return percentDecoded(pasted);
  const std::string parameters = '&' + pasted.substr(query + 1);
  constexpr std::string_view kCode = "&code=";
  const std::size_t code = parameters.find(kCode);
  if (code == std::string::npos) throw std::runtime_error("There is no code in that address.");
  const std::size_t begin = code + kCode.size();
  return percentDecoded(parameters.substr(begin, parameters.find_first_of("&#", begin) - begin));
}
