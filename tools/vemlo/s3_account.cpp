#include "s3_account.h"

#include "account_members.h"
#include "command_failure.h"
#include "encryption.h"
#include "s3_flavours.h"
#include "secrets.h"

namespace tool {
namespace {

class S3Store : public ObjectStore {
 public:
  S3Store(const vemlo::S3Account& account, const vemlo::Proxy& proxy, const S3Flavour& flavour)
      : s3_(account, proxy), flavour_(flavour) {}

  vemlo::Names buckets(const vemlo::Call& call) const override { return s3_.buckets(call); }

  vemlo::Folders folders(const std::string& bucket, const std::string& prefix,
                         const vemlo::Call& call) const override {
    return s3_.folders(bucket, prefix, call);
  }

  void createFolder(const std::string& bucket, const std::string& key,
                    const vemlo::Call& call) const override {
    s3_.createFolder(bucket, key, call);
  }

  int locationOf(const std::string& region) const override {
    return locationCode(flavour_, region);
  }

  void createBucket(const std::string& bucket, int location,
                    const vemlo::Call& call) const override {
    s3_.createBucket(bucket, location, call);
  }

 private:
  vemlo::S3 s3_;
  const S3Flavour& flavour_;
};

}  // namespace

vemlo::S3Account resolve(const S3Options& options, bool mayAsk) {
  // The message does not repeat it, and it is not stored, because it may contain a password.
  if (options.endpoint.find('@') != std::string::npos) {
    throw CommandFailure(ExitCode::BadUsage,
                         "the endpoint must not contain a user or password; the keys go into "
                         "--access-key and --secret-key-file");
  }
  if (options.accessKey.empty()) {
    throw CommandFailure(ExitCode::BadUsage,
                         "the access key is missing: give --access-key or set VEMLO_S3_ACCESS_KEY");
  }
  const std::string secretKey =
      mayAsk ? readOrAskForSecret(options.secretKeyFile, "VEMLO_S3_SECRET_KEY", "Secret key: ")
             : readSecret(options.secretKeyFile, "VEMLO_S3_SECRET_KEY");
  if (secretKey.empty()) {
    throw CommandFailure(ExitCode::BadUsage,
                         "the secret key is missing: give --secret-key-file, or set "
                         "VEMLO_S3_SECRET_KEY or VEMLO_S3_SECRET_KEY_FILE");
  }
  return {options.endpoint, options.signingRegion, options.accessKey, secretKey};
}

Account toStored(const vemlo::S3Account& account) {
  Account stored = newAccount("s3");
  stored.values = {{member::kEndpoint, account.endpoint},
                   {member::kSigningRegion, account.region},
                   {member::kAccessKey, account.accessKey},
                   {member::kSecretKey, encrypted(account.secretKey)}};
  return stored;
}

vemlo::S3Account s3AccountFrom(const Account& stored, const std::string& name) {
  return {stored.values.at(member::kEndpoint), stored.values.at(member::kSigningRegion),
          stored.values.at(member::kAccessKey), decrypted(stored, member::kSecretKey, name)};
}

std::unique_ptr<const ObjectStore> openS3(const vemlo::S3Account& account,
                                          const vemlo::Proxy& proxy, const std::string& flavour) {
  return std::make_unique<S3Store>(account, proxy, chooseFlavour(flavour, account.endpoint));
}

}  // namespace tool
