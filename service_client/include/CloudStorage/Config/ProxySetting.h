#pragma once

#include <cstdint>
#include <string>

namespace CloudStorage::Config {

/// The HTTP proxy of a client. An empty host means a direct connection; port 0 means the default of
/// the HTTP library (1080). Credentials are sent to the proxy only if `username` is not empty.
struct ProxySetting {
  std::string host;
  std::uint16_t port = 0;
  std::string username;
  std::string password;
};

}  // namespace CloudStorage::Config
