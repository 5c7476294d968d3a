#pragma once

#include <cstdint>
#include <string>

namespace CloudStorage::Client {

/// The owner of a drive's account. What the service does not say, or the scopes of the tokens do
/// not allow, is empty or -1.
struct Account {
  std::string name;
  std::string email;
  /// Bytes in use.
  std::int64_t usedSpace = -1;
  /// Bytes that the account may use. -1 also if there is no limit.
  std::int64_t totalSpace = -1;
};

}  // namespace CloudStorage::Client
