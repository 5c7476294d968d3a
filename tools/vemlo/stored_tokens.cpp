#include "stored_tokens.h"

#include <exception>
#include <utility>

#include "account_members.h"
#include "encryption.h"
#include "output.h"

namespace tool {
namespace {

void write(const vemlo::Tokens& tokens, Account& account) {
  account.values[member::kAccessToken] = encrypted(tokens.access);
  account.values[member::kRefreshToken] = encrypted(tokens.refresh);
}

vemlo::Tokens tokensOf(const Account& account, const std::string& name) {
  return {decrypted(account, member::kAccessToken, name),
          decrypted(account, member::kRefreshToken, name)};
}

}  // namespace

Account accountWith(const vemlo::Tokens& tokens, const std::string& service) {
  Account account = newAccount(service);
  write(tokens, account);
  return account;
}

StoredTokens::StoredTokens(OpenLibrary& library, std::string name, Account account)
    : name_(std::move(name)), account_(std::move(account)), tokens_(tokensOf(account_, name_)) {
  library.onRenewedTokens([this](const vemlo::RenewedTokens& renewed) { store(renewed); });
}

bool StoredTokens::takeNewer() {
  const Accounts accounts = readAccounts();
  const auto found = accounts.find(name_);
  if (found == accounts.end() || found->second == account_ ||
      found->second.service != account_.service) {
    return false;
  }
  tokens_ = tokensOf(found->second, name_);
  account_ = found->second;
  return true;
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
