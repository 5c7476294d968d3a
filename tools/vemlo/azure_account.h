#pragma once

#include <libvemlo.hpp>
#include <memory>
#include <string>

#include "account_file.h"
#include "object_storage.h"

namespace tool {

/// An Azure storage account as the user specifies it.
struct AzureOptions {
  std::string account;
  std::string keyFile;
  std::string cloud;
};

/// Throws CommandFailure if the options do not describe an account. With `mayAsk`, a missing secret
/// is asked for at a terminal.
vemlo::AzureAccount resolve(const AzureOptions& options, bool mayAsk = false);

/// A storage account in the form of the account file.
Account toStored(const vemlo::AzureAccount& account);

/// Throws CommandFailure if the account, of this name, cannot be decrypted.
vemlo::AzureAccount azureAccountFrom(const Account& stored, const std::string& name);

/// Opens a session. Throws CommandFailure if the key is no base64 text.
std::unique_ptr<const ObjectStore> openAzure(const vemlo::AzureAccount& account,
                                             const vemlo::Proxy& proxy);

}  // namespace tool
