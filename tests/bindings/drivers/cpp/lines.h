// The lines that a driver reads and writes: words between single spaces, each percent-encoded. An
// empty word is a lone "%".
#pragma once

#include <string>
#include <string_view>
#include <vector>

std::vector<std::string> wordsOf(const std::string& line);

// A line that is being written.
class Line {
 public:
  // Begins with `word`, which is written as it is.
  explicit Line(std::string_view word) : text_(word) {}

  Line& text(std::string_view text);

  template <typename Number>
  Line& number(Number number) {
    text_ += ' ' + std::to_string(number);
    return *this;
  }

  // Writes the line to standard output as a whole, also if several threads write lines.
  void write();

 private:
  std::string text_;
};
