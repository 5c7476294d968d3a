#include "linked_account.h"

#include <vector>

#include "azure_account.h"
#include "command_failure.h"
#include "drive_storage.h"
#include "s3_account.h"
#include "services.h"
#include "suggestion.h"

namespace tool {
void rejectAccount(const std::string& name) {
  const Accounts accounts = readAccounts();
  std::string advice = "`vemlo accounts` lists those that are linked";
  if (findService(name) != nullptr) {
    advice = "link one with `vemlo login " + name + "`";
  } else {
    std::vector<std::string> names = serviceNames();
    for (const auto& [known, account] : accounts) names.push_back(known);
    const std::string meant = closest(name, names);
    if (!meant.empty()) advice = "did you mean '" + meant + "'?";
  }
  throw CommandFailure(ExitCode::BadUsage, "no account is called '" + name + "'; " + advice);
}

Account linkedAccount(const std::string& name) {
  const Accounts accounts = readAccounts();
  const auto found = accounts.find(name);
  if (found == accounts.end()) rejectAccount(name);
  if (findService(found->second.service) == nullptr) {
    throw CommandFailure(ExitCode::BadUsage, "this version of vemlo does not know the service '" +
                                                 found->second.service + "' of the account '" +
                                                 name + "'");
  }
  return found->second;
}

std::unique_ptr<const ObjectStore> openStore(const std::string& name, const Account& account,
                                             const vemlo::Proxy& proxy) {
  return account.service == "s3" ? openS3(s3AccountFrom(account, name), proxy)
                                 : openAzure(azureAccountFrom(account, name), proxy);
}

std::unique_ptr<Storage> openStorage(OpenLibrary& library, const std::string& name,
                                     const Account& account, const OpenOptions& options) {
  const Service& service = serviceNamed(account.service);
  const Calls calls{{service, name}, options.isQuiet, options.deadline};
  if (service.isDrive()) {
    return std::make_unique<DriveStorage>(library, calls, account, options.proxy, options.startId);
  }
  if (!options.startId.empty()) {
    throw CommandFailure(ExitCode::BadUsage, "the folders of " + service.title + " have no ids");
  }
  return std::make_unique<ObjectStorage>(openStore(name, account, options.proxy), calls);
}

}  // namespace tool
