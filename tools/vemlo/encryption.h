#pragma once

#include <string>

#include "account_file.h"

namespace tool {

/// `text` encrypted, in one line, for the account file.
std::string encrypted(const std::string& text);

/// The plain text of a member of an account's `values`. Throws CommandFailure if it cannot be
/// decrypted; the message contains `name`, the account's name.
std::string decrypted(const Account& account, const std::string& member, const std::string& name);

}  // namespace tool
