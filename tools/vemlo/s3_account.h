#pragma once

#include <CLI/App.hpp>
#include <libvemlo.hpp>
#include <memory>
#include <string>

#include "account_file.h"
#include "object_storage.h"

namespace tool {

/// An account of S3 as the user specifies it.
struct S3Options {
  std::string endpoint;
  std::string signingRegion;
  std::string accessKey;
  std::string secretKeyFile;
};

/// Throws CommandFailure if the options do not describe an account. With `mayAsk`, a missing secret
/// is asked for at a terminal.
vemlo::S3Account resolve(const S3Options& options, bool mayAsk = false);

/// An account of S3 in the form of the account file.
Account toStored(const vemlo::S3Account& account);

/// Throws CommandFailure if the account, of this name, cannot be decrypted.
vemlo::S3Account s3AccountFrom(const Account& stored, const std::string& name);

/// Opens a session.
///
/// @param flavour  whose regions there are; empty: what the endpoint's host tells.
std::unique_ptr<const ObjectStore> openS3(const vemlo::S3Account& account,
                                          const vemlo::Proxy& proxy,
                                          const std::string& flavour = "");

}  // namespace tool
