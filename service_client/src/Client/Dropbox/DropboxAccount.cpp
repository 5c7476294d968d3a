// The owner of an account. Apart from the listing, whose comparisons of texts the compiler inlines
// only while its file has few of them.

#include <cstdint>
#include <string_view>

#include "Client/AccountRequests.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "Util/Json.h"

namespace CloudStorage::Client::Dropbox {

namespace Json = Util::Json;

namespace {

constexpr char kCurrentAccount[] = "https://api.dropboxapi.com/2/users/get_current_account";
constexpr char kSpaceUsage[] = "https://api.dropboxapi.com/2/users/get_space_usage";
// The body for a function without arguments.
constexpr char kNoArguments[] = "null";

void readAccount(Json::Object owner, Account& account) {
  for (const auto& [key, value] : owner) {
    if (key == "email") Json::read(value, account.email);
    if (key != "name") continue;
    Json::readObject(value, [&](Json::Object name) {
      for (const auto& [part, text] : name) {
        if (part == "display_name") Json::read(text, account.name);
      }
    });
  }
}

// A member of a team may have a limit, within that of the team.
void readAllocation(Json::Object allocation, Account& account) {
  std::int64_t ofAll = -1;
  std::int64_t ofMember = -1;
  for (const auto& [key, value] : allocation) {
    if (key == "allocated") readSpace(value, ofAll);
    if (key == "user_within_team_space_allocated") readSpace(value, ofMember);
  }
  account.totalSpace = ofMember > 0 ? ofMember : ofAll;
}

void readSpaceUsage(Json::Object usage, Account& account) {
  for (const auto& [key, value] : usage) {
    if (key == "used") readSpace(value, account.usedSpace);
    if (key != "allocation") continue;
    Json::readObject(value, [&](Json::Object allocation) { readAllocation(allocation, account); });
  }
}

bool isWithheld(const Error& error) { return error.errorType == CoreErrors::AccessDenied; }

}  // namespace

Util::Outcome<Account, Error> DropboxClient::getAccount() const {
  return ServiceCall::guarded([this] {
    const AccountRequest request(kNoArguments);
    return AccountRequests(call(), isWithheld)
        .send({"getAccount", Http::Method::Post}, kCurrentAccount, request, readAccount)
        .send({"getSpace", Http::Method::Post}, kSpaceUsage, request, readSpaceUsage)
        .account();
  });
}

}  // namespace CloudStorage::Client::Dropbox
