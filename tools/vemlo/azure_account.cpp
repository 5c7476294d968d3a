#include "azure_account.h"

#include "account_members.h"
#include "command_failure.h"
#include "encryption.h"
#include "secrets.h"

namespace tool {
namespace {

class AzureStore : public ObjectStore {
 public:
  AzureStore(const vemlo::AzureAccount& account, const vemlo::Proxy& proxy)
      : azure_(account, proxy) {}

  vemlo::Names buckets(const vemlo::Call& call) const override { return azure_.containers(call); }

  vemlo::Folders folders(const std::string& bucket, const std::string& prefix,
                         const vemlo::Call& call) const override {
    return azure_.folders(bucket, prefix, call);
  }

  void createFolder(const std::string& bucket, const std::string& key,
                    const vemlo::Call& call) const override {
    azure_.createFolder(bucket, key, call);
  }

  int locationOf(const std::string& region) const override {
    if (region.empty()) return 0;
    throw CommandFailure(ExitCode::BadUsage,
                         "--region is for S3 alone: a container is where its account is");
  }

  void createBucket(const std::string& bucket, int /*location*/,
                    const vemlo::Call& call) const override {
    azure_.createContainer(bucket, call);
  }

 private:
  vemlo::AzureBlobs azure_;
};

void requireAccountNameOfAzure(const std::string& name) {
  constexpr std::size_t kShortest = 3;
  constexpr std::size_t kLongest = 24;
  constexpr const char* kInName = "abcdefghijklmnopqrstuvwxyz0123456789";
  const bool isName = name.size() >= kShortest && name.size() <= kLongest &&
                      name.find_first_not_of(kInName) == std::string::npos;
  if (isName) return;
  throw CommandFailure(ExitCode::BadUsage,
                       "--account or VEMLO_AZURE_ACCOUNT must be the storage account's name, which "
                       "has 3 to 24 lower-case letters and digits");
}

}  // namespace

vemlo::AzureAccount resolve(const AzureOptions& options, bool mayAsk) {
  if (options.account.empty()) {
    throw CommandFailure(ExitCode::BadUsage,
                         "the storage account is missing: give --account or set "
                         "VEMLO_AZURE_ACCOUNT");
  }
  requireAccountNameOfAzure(options.account);
  const std::string key = mayAsk ? readOrAskForSecret(options.keyFile, "VEMLO_AZURE_KEY", "Key: ")
                                 : readSecret(options.keyFile, "VEMLO_AZURE_KEY");
  if (key.empty()) {
    throw CommandFailure(ExitCode::BadUsage,
                         "the key is missing: give --key-file, or set VEMLO_AZURE_KEY or "
                         "VEMLO_AZURE_KEY_FILE");
  }
  return {options.cloud, options.account, key};
}

Account toStored(const vemlo::AzureAccount& account) {
  Account stored = newAccount("azure");
  stored.values = {{member::kAccount, account.name},
                   {member::kCloud, account.region},
                   {member::kKey, encrypted(account.key)}};
  return stored;
}

vemlo::AzureAccount azureAccountFrom(const Account& stored, const std::string& name) {
  return {stored.values.at(member::kCloud), stored.values.at(member::kAccount),
          decrypted(stored, member::kKey, name)};
}

std::unique_ptr<const ObjectStore> openAzure(const vemlo::AzureAccount& account,
                                             const vemlo::Proxy& proxy) {
  try {
    return std::make_unique<AzureStore>(account, proxy);
  } catch (const vemlo::Failure&) {
    throw CommandFailure(ExitCode::BadUsage, "the key is no base64 text; is it copied as a whole?");
  }
}

}  // namespace tool
