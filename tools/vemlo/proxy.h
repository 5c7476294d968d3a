#pragma once

#include <libvemlo.h>

#include <CLI/App.hpp>
#include <cstdint>
#include <string>

namespace tool {

/// The proxy as specified by the user.
struct ProxyOptions {
  std::string address;
  std::string user;
  std::string passwordFile;
};

/// The proxy in the form that the library needs. An empty host means no proxy.
struct Proxy {
  std::string host;
  std::uint16_t port = 0;
  std::string user;
  std::string password;

  /// The result points into this object.
  proxy_setting setting() const { return {host.c_str(), port, user.c_str(), password.c_str()}; }
};

void addProxyOptions(CLI::App& command, ProxyOptions& options);

/// Throws CommandFailure if the address is invalid or the password cannot be read.
Proxy resolveProxy(const ProxyOptions& options);

}  // namespace tool
