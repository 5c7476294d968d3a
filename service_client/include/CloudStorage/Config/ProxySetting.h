#pragma once

#include <cstdint>
#include <string>

namespace CloudStorage::Config {

/// The HTTP proxy of a client. An empty host means a direct connection; a port of 0 means the HTTP
/// client's own default (1080). Credentials are offered to the proxy only if `username` is not
/// empty.
struct ProxySetting {
  std::string host;
  std::uint16_t port = 0;
  std::string username;
  std::string password;
};

}  // namespace CloudStorage::Config
