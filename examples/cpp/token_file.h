#pragma once

#include <libvemlo.hpp>
#include <optional>
#include <string>

// A file with the tokens of an account, encrypted and one a line. It is complete at any time, also
// if the program is killed, and readable for its owner only.
class TokenFile {
 public:
  explicit TokenFile(std::string path);

  // None if there is no file, or it does not hold two tokens.
  std::optional<vemlo::Tokens> read() const;

  // Throws std::system_error; the tokens that were there before are then kept.
  void write(const vemlo::Tokens& tokens) const;

 private:
  std::string path_;
};
