#include "private_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "command_failure.h"
#include "open_file.h"

namespace tool {
namespace {

constexpr std::size_t kMaxSize = std::size_t{1} << 20U;
constexpr mode_t kAccessOfOthers = S_IRWXG | S_IRWXO;
constexpr const char* kMoveAway =
    "; move it away, and link the accounts again with `vemlo login SERVICE`";

[[noreturn]] void fail(const std::string& message) {
  throw CommandFailure(ExitCode::LocalFailure, message);
}

std::string quoted(const std::filesystem::path& file) { return "'" + file.string() + "'"; }

/// The path as one word of a shell command.
std::string shellWord(const std::filesystem::path& file) {
  std::string word = "'";
  for (const char letter : file.string()) {
    word += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
  }
  return word + "'";
}

const char* kindOf(mode_t mode) {
  if (S_ISDIR(mode)) return "a folder";
  if (S_ISFIFO(mode)) return "a named pipe";
  if (S_ISCHR(mode) || S_ISBLK(mode)) return "a device";
  return "a special file";
}

std::string permissions(mode_t mode) {
  std::string digits;
  for (const unsigned shift : {6U, 3U, 0U}) digits += static_cast<char>('0' + (mode >> shift & 7U));
  return digits;
}

std::string readAll(int descriptor, const std::filesystem::path& file) {
  std::string text;
  std::array<char, 4096> buffer{};
  ssize_t size = 1;
  while (size > 0) {
    size = ::read(descriptor, buffer.data(), buffer.size());
    if (size < 0) {
      fail("cannot read " + quoted(file) + ": " + std::generic_category().message(errno));
    }
    text.append(buffer.data(), static_cast<std::size_t>(size));
    if (text.size() > kMaxSize) fail(quoted(file) + " is too large" + kMoveAway);
  }
  return text;
}

}  // namespace

std::string objectionTo(const std::filesystem::path& file, const struct stat& attributes,
                        uid_t user) {
  if (!S_ISREG(attributes.st_mode)) {
    return quoted(file) + " is " + kindOf(attributes.st_mode) + kMoveAway;
  }
  if (attributes.st_uid != user) {
    return quoted(file) + " belongs to another user (id " + std::to_string(attributes.st_uid) +
           "); run vemlo as that user, or set XDG_CONFIG_HOME to a folder of your own";
  }
  if ((attributes.st_mode & kAccessOfOthers) != 0) {
    return "other users of this machine have access to " + quoted(file) + " (mode " +
           permissions(attributes.st_mode) + "), and so to the drives; run `chmod 600 " +
           shellWord(file) + "`";
  }
  return {};
}

std::optional<std::string> readPrivateFile(const std::filesystem::path& file) {
  // Opening a pipe would otherwise wait for a writer, and a link could lead to any file.
  const OpenFile open(
      ::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC));
  if (!open.isOpen() && errno == ENOENT) return std::nullopt;
  if (!open.isOpen() && errno == ELOOP) fail(quoted(file) + " is a symbolic link" + kMoveAway);
  struct stat attributes {};
  if (!open.isOpen() || ::fstat(open.descriptor(), &attributes) != 0) {
    fail("cannot read " + quoted(file) + ": " + std::generic_category().message(errno));
  }
  const std::string objection = objectionTo(file, attributes, ::geteuid());
  if (!objection.empty()) fail(objection);
  return readAll(open.descriptor(), file);
}

}  // namespace tool
