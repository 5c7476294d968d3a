#pragma once

#include <libvemlo_service_client.h>

#include <cstdint>
#include <optional>
#include <string>

#include "call.hpp"
#include "drive.hpp"
#include "failure.hpp"
#include "proxy.hpp"
#include "texts.hpp"

namespace vemlo {

/// The owner of an account. What the service does not say, or the scopes of the tokens do not
/// allow, is empty or not set.
struct Account {
  std::string name;
  std::string email;
  /// Bytes in use.
  std::optional<std::uint64_t> usedSpace;
  /// Bytes that the account may use. Not set also if there is no limit.
  std::optional<std::uint64_t> totalSpace;
};

namespace detail {

struct OwnedAccount : vemlo_client_account {
  OwnedAccount() : vemlo_client_account{sizeof(vemlo_client_account), nullptr, nullptr, -1, -1} {}
  ~OwnedAccount() { vemlo_client_free_account(this); }
  OwnedAccount(const OwnedAccount&) = delete;
  OwnedAccount& operator=(const OwnedAccount&) = delete;
};

inline std::optional<std::uint64_t> bytesOf(std::int64_t number) {
  if (number < 0) return std::nullopt;
  return static_cast<std::uint64_t>(number);
}

}  // namespace detail

/// Asks a drive service whose account the tokens belong to. Renewed tokens are reported to
/// `Settings::tokensRenewed`. Nothing is logged.
///
/// @param service  one of the four drives.
inline Account accountOf(Service service, const Tokens& tokens, const Proxy& proxy = {},
                         const Call& call = {}) {
  const std::string access = detail::argument(tokens.access);
  const std::string refresh = detail::argument(tokens.refresh);
  auto record = detail::recordOf<vemlo_client_proxy>(proxy);
  record.size = sizeof(record);
  detail::OwnedAccount owned;
  detail::make(call, [&] {
    return vemlo_client_get_account(static_cast<std::int32_t>(service), access.c_str(),
                                    refresh.c_str(), &record, &owned);
  });
  return {owned.name, owned.email, detail::bytesOf(owned.used_space),
          detail::bytesOf(owned.total_space)};
}

}  // namespace vemlo
