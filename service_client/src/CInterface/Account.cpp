#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <variant>

#include "CInterface/Arguments.h"
#include "Client/AccountLookup.h"
#include "Client/ServiceCall.h"
#include "libvemlo_service_client.h"

using namespace CloudStorage;
using CInterface::isNullOrEmpty;
using CInterface::textOrEmpty;

namespace {

constexpr int kSuccess = 0;
constexpr int kBadArguments = -1;

// The sizes of the first version of the records.
constexpr std::size_t kAccountSize =
    offsetof(vemlo_client_account, total_space) + sizeof(vemlo_client_account::total_space);
constexpr std::size_t kProxySize =
    offsetof(vemlo_client_proxy, password) + sizeof(vemlo_client_proxy::password);

struct Free {
  void operator()(char* text) const { std::free(text); }
};
using HeapText = std::unique_ptr<char, Free>;

HeapText copyOf(const std::string& text) {
  HeapText copy(static_cast<char*>(std::malloc(text.size() + 1)));
  if (!copy) throw std::bad_alloc();
  std::memcpy(copy.get(), text.c_str(), text.size() + 1);
  return copy;
}

Config::ProxySetting settingOf(const vemlo_client_proxy* proxy) {
  if (proxy == nullptr) return {};
  return {std::string(textOrEmpty(proxy->host)), proxy->port,
          std::string(textOrEmpty(proxy->username)), std::string(textOrEmpty(proxy->password))};
}

}  // namespace

int vemlo_client_get_account(int32_t service, const char* access_token, const char* refresh_token,
                             const vemlo_client_proxy* proxy, vemlo_client_account* account) {
  const auto drive = static_cast<Client::Service>(service);
  if (!Client::isDrive(drive)) return kBadArguments;
  if (access_token == nullptr || (isNullOrEmpty(access_token) && isNullOrEmpty(refresh_token))) {
    return kBadArguments;
  }
  if (proxy != nullptr && proxy->size < kProxySize) return kBadArguments;
  if (account == nullptr || account->size < kAccountSize) return kBadArguments;

  using Done = Util::Outcome<std::monostate, Client::Error>;
  const auto done = Client::ServiceCall::guarded([&]() -> Done {
    const auto found = Client::lookUpAccount(
        drive, access_token, std::string(textOrEmpty(refresh_token)), settingOf(proxy));
    if (!found.isSuccess()) return found.getError();
    HeapText name = copyOf(found.getResult().name);
    HeapText email = copyOf(found.getResult().email);
    account->name = name.release();
    account->email = email.release();
    account->used_space = found.getResult().usedSpace;
    account->total_space = found.getResult().totalSpace;
    return std::monostate();
  });
  return done.isSuccess() ? kSuccess : static_cast<int>(done.getError().errorType);
}

void vemlo_client_free_account(vemlo_client_account* account) {
  if (account == nullptr) return;
  std::free(std::exchange(account->name, nullptr));
  std::free(std::exchange(account->email, nullptr));
}
