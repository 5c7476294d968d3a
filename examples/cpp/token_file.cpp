#include "token_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <system_error>
#include <utility>

namespace {

void require(bool success) {
  if (!success) throw std::system_error(errno, std::generic_category(), "Cannot store the tokens");
}

// The ciphertext without its line breaks, which decryption does not need.
std::string lineOf(const std::string& token) {
  std::string line = vemlo::encrypt(token);
  line.erase(
      std::remove_if(line.begin(), line.end(), [](char c) { return c == '\r' || c == '\n'; }),
      line.end());
  return line + '\n';
}

void writeAndClose(int descriptor, const std::string& text) {
  const ssize_t written = write(descriptor, text.data(), text.size());
  const bool isStored = written == static_cast<ssize_t>(text.size()) && fsync(descriptor) == 0;
  require(close(descriptor) == 0 && isStored);
}

}  // namespace

TokenFile::TokenFile(std::string path) : path_(std::move(path)) {}

std::optional<vemlo::Tokens> TokenFile::read() const {
  std::ifstream file(path_);
  std::string access;
  std::string refresh;
  if (!std::getline(file, access) || !std::getline(file, refresh)) return std::nullopt;
  try {
    return vemlo::Tokens{vemlo::decrypt(access), vemlo::decrypt(refresh)};
  } catch (const vemlo::Failure&) {
    return std::nullopt;
  }
}

void TokenFile::write(const vemlo::Tokens& tokens) const {
  const std::string newPath = path_ + ".new";
  const std::string text = lineOf(tokens.access) + lineOf(tokens.refresh);
  const int descriptor =
      open(newPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
  require(descriptor >= 0);
  writeAndClose(descriptor, text);
  require(std::rename(newPath.c_str(), path_.c_str()) == 0);
}
