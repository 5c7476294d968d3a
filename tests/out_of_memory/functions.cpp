#include "functions.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "failing_allocations.h"
#include "support/outs.h"
#include "support/services.h"

namespace OutOfMemory {
namespace {

using Behaviour::Service;
using TestSupport::BucketListOut;
using TestSupport::FolderListOut;
using TestSupport::FolderOut;
using TestSupport::TextOut;

constexpr int kFailed = 1;
// Longer than the buffer inside a std::string.
constexpr char kLongText[] = "a text that is too long for a string without memory of its own";
constexpr char kText[] = "secret";
constexpr char kCipherText[] = "KApy8RapopOCxBfTyQlKlg==";
constexpr proxy_setting kProxy{"proxy.example.test.with.a.long.name", 3128, "a long name of a user",
                               "a long password of that user"};

/// Expects one of the results that a function has here.
bool isSuccess(const Account& account, int result, int failure = kFailed) {
  EXPECT_TRUE(result == 0 || result == failure || result == account.resultOfDenial) << result;
  return result == 0;
}

/// The parent folder of the stand-ins for the drives.
directory parentOf(const Account& account) {
  static char itemId[] = "parent-1";
  static char path[] = "/parent";
  return {nullptr, std::strcmp(account.service.facts.name, "Dropbox") == 0 ? path : itemId};
}

Function listing(std::string name, int (*list)(session*, const directory*, directory**, int*)) {
  return {std::move(name), [list](const Account& account) {
            const directory parent = parentOf(account);
            FolderListOut out;
            const int result =
                armed([&] { return list(account.handle, &parent, &out.list, &out.count); });
            const bool done = isSuccess(account, result);
            if (!done) {
              EXPECT_TRUE(out.isCleared());
            } else {
              EXPECT_EQ(out.folders(), account.cloud.folders());
            }
            return done;
          }};
}

Function creation(std::string name,
                  int (*create)(session*, const directory*, const char*, directory**)) {
  return {std::move(name), [create](const Account& account) {
            const directory parent = parentOf(account);
            const std::string folder =
                "a new folder, number " + std::to_string(account.cloud.folders().size());
            FolderOut out;
            const int result =
                armed([&] { return create(account.handle, &parent, folder.c_str(), &out.record); });
            const bool done = isSuccess(account, result);
            if (!done) {
              EXPECT_TRUE(out.isCleared());
            } else {
              EXPECT_EQ(out.folder(), account.cloud.folders().back());
            }
            return done;
          }};
}

Function root(std::string name, int (*getRoot)(session*, directory**)) {
  return {std::move(name), [getRoot](const Account& account) {
            FolderOut out;
            const int result = armed([&] { return getRoot(account.handle, &out.record); });
            const bool done = isSuccess(account, result);
            if (!done) {
              EXPECT_TRUE(out.isCleared());
            } else {
              EXPECT_STRNE(out.record->id, "");
            }
            return done;
          }};
}

/// A function without outs.
template <typename Call>
Function action(std::string name, Call call, int failure = kFailed) {
  return {std::move(name), [=](const Account& account) {
            return isSuccess(account, armed([&] { return call(account.handle); }), failure);
          }};
}

Function url(std::string name, int (*getUrl)(session*, char**)) {
  return {std::move(name), [getUrl](const Account& account) {
            TextOut out;
            const int result = armed([&] { return getUrl(account.handle, &out.text); });
            const bool done = isSuccess(account, result);
            EXPECT_EQ(out.text == nullptr, !done);
            return done;
          }};
}

Function tokens(std::string name, const TestSupport::Drive& drive, bool hasRefreshToken) {
  const auto getToken = drive.authorization.getToken;
  const int failure = drive.exchangeFailure;
  return {std::move(name), [=](const Account& account) {
            TextOut access;
            TextOut refresh;
            const int result = armed(
                [&] { return getToken(account.handle, kLongText, &access.text, &refresh.text); });
            const bool done = isSuccess(account, result, failure);
            EXPECT_EQ(access.text == nullptr, !done);
            if (hasRefreshToken) {
              EXPECT_EQ(refresh.text == nullptr, !done);
            }
            return done;
          }};
}

Function setTokens(std::string name, const TestSupport::Drive& drive) {
  const auto setToken = drive.authorization.setToken;
  return {std::move(name), [=](const Account& account) {
            const int result =
                armed([&] { return setToken(account.handle, kLongText, kLongText); });
            const bool done = isSuccess(account, result);
            // These tokens are not the service's.
            EXPECT_EQ(account.service.authorize(account.handle), 0);
            return done;
          }};
}

std::vector<Function> driveFunctions(const std::string& prefix, const TestSupport::Drive& drive) {
  std::vector<Function> functions{
      url(prefix + "_get_authorize_url", drive.authorization.getAuthorizeUrl),
      tokens(prefix + "_get_token", drive, prefix != "dropbox"),
      setTokens(prefix + "_set_token", drive),
      listing(prefix + "_list_directory", drive.folders.list),
      creation(prefix + "_create_directory", drive.folders.create)};
  if (drive.folders.getRoot != nullptr) {
    functions.push_back(root(prefix + "_get_root_directory", drive.folders.getRoot));
  }
  return functions;
}

/// `list` has the outs of a listing of buckets. `clears` is whether a failure leaves them cleared.
Function bucketListing(std::string name, int (*list)(session*, char***, int*), bool clears) {
  return {std::move(name), [=](const Account& account) {
            BucketListOut out;
            const int result = armed([&] { return list(account.handle, &out.list, &out.count); });
            const bool done = isSuccess(account, result);
            if (!done) {
              EXPECT_TRUE(clears ? out.isCleared() : out.isUntouched());
            } else {
              EXPECT_EQ(out.names(), std::vector<std::string>{"box"});
            }
            return done;
          }};
}

Function prefixListing(std::string name,
                       int (*list)(session*, const char*, const char*, directory**, int*)) {
  return {std::move(name), [list](const Account& account) {
            FolderListOut out;
            const int result = armed(
                [&] { return list(account.handle, "box", "parent/", &out.list, &out.count); });
            const bool done = isSuccess(account, result);
            if (!done) {
              EXPECT_TRUE(out.isCleared());
            } else {
              EXPECT_EQ(out.folders(), account.cloud.folders());
            }
            return done;
          }};
}

constexpr char kNewPrefix[] = "parent/a new folder with a long name/";

std::vector<Function> s3Functions() {
  return {prefixListing("s3_list_directory", s3_list_directory),
          action("s3_create_directory",
                 [](session* handle) { return s3_create_directory(handle, "box", kNewPrefix); }),
          bucketListing("s3_list_bucket", s3_list_bucket, false),
          action("s3_create_bucket",
                 [](session* handle) { return s3_create_bucket(handle, "new-box", 16); })};
}

std::vector<Function> azureFunctions() {
  return {
      prefixListing("azure_ssb_list_directory", azure_ssb_list_directory),
      action("azure_ssb_create_directory",
             [](session* handle) { return azure_ssb_create_directory(handle, "box", kNewPrefix); }),
      bucketListing("azure_ssb_list_bucket", azure_ssb_list_bucket, true),
      action("azure_ssb_create_bucket",
             [](session* handle) { return azure_ssb_create_bucket(handle, "new-box"); })};
}

template <typename Open>
Function opening(std::string name, Open open) {
  return {std::move(name), [open](const Account& /*account*/) {
            session* const handle = armed(open);
            const bool done = handle != nullptr;
            libvemlo_s3_cleanup(handle);
            return done;
          }};
}

Function encryption(std::string name, char* (*function)(const char*), const char* text,
                    const char* expected) {
  return {std::move(name), [=](const Account& /*account*/) {
            char* const result = armed([&] { return function(text); });
            const bool done = result != nullptr;
            if (done) {
              EXPECT_STREQ(result, expected);
            }
            std::free(result);
            return done;
          }};
}

template <typename Call>
Function infallible(std::string name, Call call) {
  return {std::move(name), [call](const Account& /*account*/) {
            call();
            return true;
          }};
}

directory* newFolders(std::size_t count) {
  auto* const folders = static_cast<directory*>(std::calloc(count, sizeof(directory)));
  for (std::size_t i = 0; i < count; ++i) folders[i] = {strdup("name"), strdup("id")};
  return folders;
}

char** newBuckets() {
  auto** const buckets = static_cast<char**>(std::calloc(1, sizeof(char*)));
  buckets[0] = strdup("name");
  return buckets;
}

template <typename Function, typename... Arguments>
void callArmed(Function function, Arguments... arguments) {
  armed([&] { return function(arguments...); });
}

}  // namespace

std::vector<Function> functionsOf(const Service& service) {
  const std::string name = service.facts.name;
  if (name == "S3") return s3Functions();
  if (name == "GoogleDrive") return driveFunctions("google_drive", TestSupport::kGoogleDrive);
  if (name == "Dropbox") return driveFunctions("dropbox", TestSupport::kDropbox);
  if (name == "OneDrive") {
    auto functions = driveFunctions("one_drive", TestSupport::kOneDrive);
    functions.push_back(url("one_drive_get_logout_url", one_drive_get_logout_url));
    return functions;
  }
  if (name == "AmazonDrive") {
    auto functions = driveFunctions("amazon_drive", TestSupport::kAmazonDrive);
    functions.push_back(action("amazon_drive_get_endpoint", amazon_drive_get_endpoint));
    functions.push_back(action("amazon_drive_test_api", amazon_drive_test_api));
    return functions;
  }
  return azureFunctions();
}

Function listingOf(const Service& service) {
  for (Function& function : functionsOf(service)) {
    if (function.name.find("_list_directory") != std::string::npos) return std::move(function);
  }
  return {};
}

std::vector<Function> openingFunctions() {
  return {opening("libvemlo_s3_init",
                  [] {
                    return libvemlo_s3_init("https://store.with.a.long.name.example.test",
                                            "a-region-with-a-long-name", kLongText, kLongText,
                                            &kProxy);
                  }),
          opening("libvemlo_azure_ssb_init",
                  [] {
                    return libvemlo_azure_ssb_init("west europe, of all regions", "account",
                                                   "c2VjcmV0IHNlY3JldCBzZWNyZXQ=", &kProxy);
                  }),
          opening("libvemlo_google_drive_init", [] { return libvemlo_google_drive_init(&kProxy); }),
          opening("libvemlo_amazon_drive_init", [] { return libvemlo_amazon_drive_init(&kProxy); }),
          opening("libvemlo_one_drive_init", [] { return libvemlo_one_drive_init(&kProxy); }),
          opening("libvemlo_dropbox_init", [] { return libvemlo_dropbox_init(&kProxy); })};
}

std::vector<Function> encryptionFunctions() {
  return {encryption("encrypt_string", encrypt_string, kText, kCipherText),
          encryption("decrypt_string", decrypt_string, kCipherText, kText)};
}

std::vector<Function> infallibleFunctions() {
  std::vector<Function> functions;
  for (const auto& [name, table] :
       {std::pair("s3", &s3_get_location_contraint_name_mappings),
        std::pair("s3_cn", &s3_cn_get_location_contraint_name_mappings),
        std::pair("wasabi", &wasabi_get_location_contraint_name_mappings),
        std::pair("customized", &customized_get_location_contraint_name_mappings)}) {
    functions.push_back(infallible(std::string(name) + "_get_location_contraint_name_mappings",
                                   [table = table] { EXPECT_NE(armed(table), nullptr); }));
  }
  functions.push_back(infallible("free_buckets", [] { callArmed(free_buckets, newBuckets(), 1); }));
  functions.push_back(
      infallible("free_directory", [] { callArmed(free_directory, newFolders(1)); }));
  functions.push_back(
      infallible("free_diretories", [] { callArmed(free_diretories, newFolders(2), 2); }));
  functions.push_back(infallible("libvemlo_global_init", [] { callArmed(libvemlo_global_init); }));
  functions.push_back(
      infallible("libvemlo_global_cleanup", [] { callArmed(libvemlo_global_cleanup); }));
  const std::string names[] = {"s3",           "azure_ssb", "google_drive",
                               "amazon_drive", "one_drive", "dropbox"};
  const auto* name = names;
  for (const auto& service : TestSupport::allServices()) {
    functions.push_back(infallible("libvemlo_" + *name++ + "_cleanup", [service] {
      callArmed(service.cleanup, service.open(nullptr));
    }));
  }
  return functions;
}

}  // namespace OutOfMemory
