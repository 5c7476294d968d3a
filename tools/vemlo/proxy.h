#pragma once

#include <CLI/App.hpp>
#include <libvemlo.hpp>
#include <string>

namespace tool {

/// The proxy as specified by the user.
struct ProxyOptions {
  std::string address;
  std::string user;
  std::string passwordFile;
};

void addProxyOptions(CLI::App& command, ProxyOptions& options);

/// No address is no proxy. Throws CommandFailure if the address is invalid or the password cannot
/// be read.
vemlo::Proxy resolveProxy(const ProxyOptions& options);

}  // namespace tool
