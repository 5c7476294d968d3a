#pragma once

#include <libvemlo.h>

#include <CLI/App.hpp>
#include <cstdint>
#include <string>

namespace vemlo {

/// The proxy as the user gives it.
struct ProxyOptions {
  std::string address;
  std::string user;
  std::string passwordFile;
};

/// The proxy as the library takes it; an empty host means none.
struct Proxy {
  std::string host;
  std::uint16_t port = 0;
  std::string user;
  std::string password;

  /// Points into this object.
  proxy_setting setting() const { return {host.c_str(), port, user.c_str(), password.c_str()}; }
};

void addProxyOptions(CLI::App& command, ProxyOptions& options);

/// Throws Failure if the address is none, or if the password cannot be read.
Proxy resolveProxy(const ProxyOptions& options);

}  // namespace vemlo
