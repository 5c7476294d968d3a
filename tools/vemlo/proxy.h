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

/// @param order  where its line of standard input is among others; begins with a comma
/// any.
void addProxyOptions(CLI::App& command, ProxyOptions& options, const std::string& order = "");

/// No address is no proxy. Throws CommandFailure if the address is invalid or the password cannot
/// be read.
vemlo::Proxy resolveProxy(const ProxyOptions& options);

}  // namespace tool
