#include "lines.h"

#include <cstddef>
#include <iostream>
#include <mutex>
#include <sstream>

namespace {

constexpr std::string_view kUnreserved =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
constexpr std::string_view kDigits = "0123456789ABCDEF";

std::string decoded(std::string_view word) {
  std::string text;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (word[i] != '%') {
      text += word[i];
    } else if (i + 2 < word.size()) {
      text += static_cast<char>(kDigits.find(word[i + 1]) * 16 + kDigits.find(word[i + 2]));
      i += 2;
    }
  }
  return text;
}

}  // namespace

std::vector<std::string> wordsOf(const std::string& line) {
  std::vector<std::string> words;
  std::istringstream stream(line);
  for (std::string word; stream >> word;) words.push_back(decoded(word));
  return words;
}

Line& Line::text(std::string_view text) {
  text_ += text.empty() ? " %" : " ";
  for (const char c : text) {
    if (kUnreserved.find(c) != std::string_view::npos) {
      text_ += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      text_ += {'%', kDigits[byte / 16], kDigits[byte % 16]};
    }
  }
  return *this;
}

void Line::write() {
  static std::mutex mutex;
  const std::lock_guard<std::mutex> lock(mutex);
  std::cout << text_ << std::endl;
}
