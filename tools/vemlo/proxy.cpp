#include "proxy.h"

#include <charconv>
#include <string_view>

#include "command_failure.h"
#include "secrets.h"

namespace tool {
namespace {

/// The message does not contain the address, in which users may have put a password.
[[noreturn]] void rejectAddress() {
  throw CommandFailure(
      ExitCode::BadUsage,
      "the proxy must be given as [http://]HOST:PORT; its user goes into --proxy-user, "
      "the password into --proxy-password-file");
}

std::uint16_t parsePort(std::string_view text) {
  std::uint16_t port = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, port);
  if (error != std::errc() || stop != end || port == 0) rejectAddress();
  return port;
}

/// A host name or IPv4 address, or an IPv6 address in brackets.
bool isHost(std::string_view text) {
  if (text.empty() || text.find_first_of("/@?# ") != std::string_view::npos) return false;
  const bool isBracketed = text.size() > 2 && text.front() == '[' && text.back() == ']';
  return isBracketed || text.find_first_of(":[]") == std::string_view::npos;
}

}  // namespace

void addProxyOptions(CLI::App& command, ProxyOptions& options, const std::string& order) {
  command.add_option("--proxy", options.address, "HTTP proxy, as [http://]HOST:PORT")
      ->envname("VEMLO_PROXY")
      ->type_name("ADDRESS");
  command.add_option("--proxy-user", options.user, "User name for the proxy")
      ->envname("VEMLO_PROXY_USER")
      ->type_name("NAME");
  command
      .add_option("--proxy-password-file", options.passwordFile,
                  "File with the proxy password in its first line; '-' reads a line of standard "
                  "input" +
                      order +
                      " (Env:VEMLO_PROXY_PASSWORD, the password itself, or "
                      "VEMLO_PROXY_PASSWORD_FILE)")
      ->type_name("FILE");
}

vemlo::Proxy resolveProxy(const ProxyOptions& options) {
  if (options.address.empty()) return {};

  constexpr std::string_view kScheme = "http://";
  std::string_view address = options.address;
  if (address.substr(0, kScheme.size()) == kScheme) address.remove_prefix(kScheme.size());
  if (!address.empty() && address.back() == '/') address.remove_suffix(1);

  const std::size_t colon = address.rfind(':');
  if (colon == std::string_view::npos || !isHost(address.substr(0, colon))) rejectAddress();

  vemlo::Proxy proxy;
  proxy.host = address.substr(0, colon);
  proxy.port = parsePort(address.substr(colon + 1));
  proxy.username = options.user;
  proxy.password = readSecret(options.passwordFile, "VEMLO_PROXY_PASSWORD");
  return proxy;
}

}  // namespace tool
