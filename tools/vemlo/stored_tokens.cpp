#include "stored_tokens.h"

#include <exception>
#include <utility>

#include "encryption.h"
#include "output.h"

namespace tool {
namespace {

constexpr const char* kAccess = "accessToken";
constexpr const char* kRefresh = "refreshToken";

void write(const vemlo::Tokens& tokens, Account& account) {
  account.values[kAccess] = encrypted(tokens.access);
  account.values[kRefresh] = encrypted(tokens.refresh);
}

}  // namespace

Account accountWith(const vemlo::Tokens& tokens, const std::string& service) {
  Account account = newAccount(service);
  write(tokens, account);
  return account;
}

StoredTokens::StoredTokens(OpenLibrary& library, std::string name, Account account)
    : name_(std::move(name)),
      account_(std::move(account)),
      tokens_{decrypted(account_, kAccess, name_), decrypted(account_, kRefresh, name_)} {
  library.onRenewedTokens([this](const vemlo::RenewedTokens& renewed) { store(renewed); });
}

void StoredTokens::store(const vemlo::RenewedTokens& renewed) {
  try {
    Account after = account_;
    write({std::string(renewed.access), std::string(renewed.refresh)}, after);
    if (updateAccount(name_, account_, after)) account_ = after;
  } catch (const std::exception& error) {
    writeMessage("the renewed tokens of the account '" + name_ +
                 "' are not stored, so it may have to be linked again: " + error.what());
  }
}

}  // namespace tool
