#include "account_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <system_error>

#include "command_failure.h"
#include "open_file.h"
#include "private_file.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;
using std::filesystem::path;

[[noreturn]] void fail(const std::string& what, const path& file) {
  const std::string reason = std::generic_category().message(errno);
  throw CommandFailure(ExitCode::LocalFailure, what + " '" + file.string() + "': " + reason);
}

path configurationFolder() {
  // By convention the variable is ignored unless it holds an absolute path.
  const char* configured = std::getenv("XDG_CONFIG_HOME");
  if (configured != nullptr && *configured == '/') return configured;
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home == '/') return path(home) / ".config";
  throw CommandFailure(ExitCode::LocalFailure,
                       "there is no place for the accounts: set HOME or XDG_CONFIG_HOME");
}

path accountFolder() { return configurationFolder() / "vemlo"; }

path accountFile() { return accountFolder() / "accounts.json"; }

bool isAccount(const Json& account) {
  constexpr std::array kMembers{"linked", "accessToken", "refreshToken"};
  return account.is_object() &&
         std::all_of(kMembers.begin(), kMembers.end(), [&account](const char* member) {
           return account.contains(member) && account[member].is_string();
         });
}

/// An object with one member per account, named after the service.
Json parse(const std::string& text, const std::string& file) {
  Json accounts = Json::parse(text, nullptr, false);
  if (!accounts.is_object() || !std::all_of(accounts.begin(), accounts.end(), isAccount)) {
    throw CommandFailure(
        ExitCode::LocalFailure,
        "'" + file + "' is damaged; repair it, or remove it and link the accounts again");
  }
  return accounts;
}

bool writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t size = ::write(descriptor, text.data(), text.size());
    if (size < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(size));
  }
  return ::fsync(descriptor) == 0;
}

/// Replaces the file atomically: a reader sees the old or the new file, also if writing fails.
void writeFile(const Json& accounts) {
  const path file = accountFile();
  std::string temporary = file.string() + ".XXXXXX";
  OpenFile open(::mkostemp(temporary.data(), O_CLOEXEC));  // readable by its owner only
  if (!open.isOpen()) fail("cannot write", file);
  if (!writeAll(open.descriptor(), accounts.dump(2) + "\n") || !open.close() ||
      std::rename(temporary.c_str(), file.c_str()) != 0) {
    const int error = errno;
    ::unlink(temporary.c_str());
    errno = error;
    fail("cannot write", file);
  }
  // Make the rename durable too. If this fails, the file is still the old or the new one.
  const OpenFile folder(::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.isOpen()) ::fsync(folder.descriptor());
}

void makeAccountFolder() {
  const path folder = accountFolder();
  std::error_code error;
  const mode_t usual = ::umask(S_IRWXG | S_IRWXO);  // accessible to its owner only
  std::filesystem::create_directories(folder, error);
  ::umask(usual);
  errno = error.value();
  if (error) fail("cannot make the folder", folder);
}

/// Changes the file under a lock that excludes other processes. The lock is on a separate file
/// because the file with the accounts is replaced.
void changeAccounts(const std::function<void(Json& accounts)>& change) {
  makeAccountFolder();
  const path lock = accountFolder() / "accounts.lock";
  const OpenFile open(
      ::open(lock.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!open.isOpen() || ::flock(open.descriptor(), LOCK_EX) != 0) fail("cannot lock", lock);

  const path file = accountFile();
  const std::optional<std::string> text = readPrivateFile(file);
  const Json before = text ? parse(*text, file.string()) : Json::object();
  Json accounts = before;
  change(accounts);
  if (accounts != before) writeFile(accounts);
}

}  // namespace

std::map<std::string, Account> readAccounts() {
  const path file = accountFile();
  const std::optional<std::string> text = readPrivateFile(file);
  return text ? parseAccounts(*text, file.string()) : std::map<std::string, Account>();
}

std::map<std::string, Account> parseAccounts(const std::string& text, const std::string& file) {
  std::map<std::string, Account> accounts;
  const Json stored = parse(text, file);
  for (const auto& [service, account] : stored.items()) {
    accounts[service] = {account["linked"], account["accessToken"], account["refreshToken"]};
  }
  return accounts;
}

bool storeAccount(const std::string& service, const Account& account) {
  bool existed = false;
  changeAccounts([&](Json& accounts) {
    existed = accounts.contains(service);
    accounts[service] = {{"linked", account.linked},
                         {"accessToken", account.accessToken},
                         {"refreshToken", account.refreshToken}};
  });
  return existed;
}

bool removeAccount(const std::string& service) {
  bool existed = false;
  changeAccounts([&](Json& accounts) { existed = accounts.erase(service) > 0; });
  return existed;
}

}  // namespace tool
