#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>

namespace tool {

/// The content of a file with secrets, or no value if there is no such file. Never blocks on what
/// is not a regular file.
///
/// Throws CommandFailure if the file cannot be read, is not a regular file of this user, or is
/// accessible to other users. The message says what to do.
std::optional<std::string> readPrivateFile(const std::filesystem::path& file);

/// Why a file with these attributes must not be used by `user`, and what to do; empty if it may be.
std::string objectionTo(const std::filesystem::path& file, const struct stat& attributes,
                        uid_t user);

}  // namespace tool
