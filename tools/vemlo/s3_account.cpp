#include "s3_account.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "account_members.h"
#include "command_failure.h"
#include "encryption.h"
#include "s3_flavours.h"
#include "secrets.h"
#include "text.h"

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

bool isPort(std::string_view text) {
  std::uint16_t port = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, port);
  return error == std::errc() && stop == end && port != 0;
}

/// A host name or IPv4 address, or an IPv6 address in brackets.
bool isHost(std::string_view text) {
  constexpr std::size_t kLongest = 253;
  constexpr const char* kInName =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._";
  if (text.size() > 4 && text.front() == '[') {
    return text.find_first_not_of("0123456789abcdefABCDEF:.", 1) == text.size() - 1 &&
           text.back() == ']';
  }
  return !text.empty() && text.size() <= kLongest && text.front() != '.' &&
         text.find("..") == std::string_view::npos &&
         text.find_first_not_of(kInName) == std::string_view::npos;
}

/// Whether requests can be sent to an endpoint.
bool isEndpoint(std::string_view text) {
  const bool isPrintable =
      std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < '\x7f'; });
  if (!isPrintable || text.find_first_of("?#") != std::string_view::npos) return false;
  const std::size_t scheme = text.find("://");
  if (scheme != std::string_view::npos) {
    const std::string name = upperCase(std::string(text.substr(0, scheme)));
    if (name != "HTTP" && name != "HTTPS") return false;
    text.remove_prefix(scheme + 3);
  }
  const std::string_view authority = text.substr(0, text.find('/'));
  const std::size_t colon = authority.rfind(':');
  const bool hasPort = colon != std::string_view::npos && authority.back() != ']';
  return isHost(authority.substr(0, hasPort ? colon : authority.size())) &&
         (!hasPort || isPort(authority.substr(colon + 1)));
}

/// The message does not contain the endpoint, in which users may have put a password.
void requireEndpoint(const std::string& endpoint) {
  if (endpoint.find('@') != std::string::npos) {
    throw CommandFailure(ExitCode::BadUsage,
                         "the endpoint must not contain a user or password; the keys go into "
                         "--access-key and --secret-key-file");
  }
  if (endpoint.empty() || isEndpoint(endpoint)) return;
  throw CommandFailure(ExitCode::BadUsage,
                       "--endpoint or VEMLO_S3_ENDPOINT must be given as "
                       "[http[s]://]HOST[:PORT][/BASE]");
}

}  // namespace

vemlo::S3Account resolve(const S3Options& options, bool mayAsk) {
  requireEndpoint(options.endpoint);
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
