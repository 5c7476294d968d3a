#pragma once

#include <libvemlo.h>

#include <cstdint>
#include <string>

#include "texts.hpp"

namespace vemlo {

/// An HTTP proxy.
struct Proxy {
  /// Empty: no proxy.
  std::string host{};
  /// 0: port 1080.
  std::uint16_t port = 0;
  /// Empty: no credentials are sent to the proxy.
  std::string username{};
  std::string password{};
};

namespace detail {

/// The record of the C interface, valid as long as `proxy`.
template <typename Record>
Record recordOf(const Proxy& proxy) {
  for (const std::string* text : {&proxy.host, &proxy.username, &proxy.password}) argument(*text);
  Record record{};
  record.host = proxy.host.c_str();
  record.port = proxy.port;
  record.username = proxy.username.c_str();
  record.password = proxy.password.c_str();
  return record;
}

}  // namespace detail
}  // namespace vemlo
