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
#include <ctime>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

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

/// The members that the accounts of a service have; none for a service of a later version.
std::vector<std::string> valuesOf(const std::string& service) {
  static const std::vector<std::string> kTokens{"accessToken", "refreshToken"};
  static const std::map<std::string, std::vector<std::string>> kValues{
      {"google-drive", kTokens},
      {"onedrive", kTokens},
      {"dropbox", kTokens},
      {"amazon-drive", kTokens},
      {"s3", {"endpoint", "signingRegion", "accessKey", "secretKey"}},
      {"azure", {"account", "cloud", "key"}}};
  const auto found = kValues.find(service);
  return found == kValues.end() ? std::vector<std::string>() : found->second;
}

bool hasText(const Json& account, const std::string& member) {
  return account.contains(member) && account[member].is_string();
}

/// The service of an account. Earlier versions named an account after its service.
std::string serviceOf(const std::string& name, const Json& account) {
  return hasText(account, "service") ? account["service"].get<std::string>() : name;
}

bool isAccount(const std::string& name, const Json& account) {
  if (!account.is_object() || !hasText(account, "linked")) return false;
  if (account.contains("service") && !account["service"].is_string()) return false;
  const std::vector<std::string> values = valuesOf(serviceOf(name, account));
  return std::all_of(values.begin(), values.end(),
                     [&account](const std::string& member) { return hasText(account, member); });
}

/// An object with one member per account, with the account's name.
Json parse(const std::string& text, const std::string& file) {
  Json accounts = Json::parse(text, nullptr, false);
  bool isIntact = accounts.is_object();
  if (isIntact) {
    for (const auto& [name, account] : accounts.items()) isIntact &= isAccount(name, account);
  }
  if (!isIntact) {
    throw CommandFailure(
        ExitCode::LocalFailure,
        "'" + file + "' is damaged; repair it, or remove it and link the accounts again");
  }
  return accounts;
}

Account accountFrom(const std::string& name, const Json& stored) {
  Account account{serviceOf(name, stored), stored["linked"], {}};
  for (const std::string& member : valuesOf(account.service)) {
    account.values[member] = stored[member];
  }
  return account;
}

/// Writes the members of `account` to `stored` and keeps its others.
void write(const Account& account, Json& stored) {
  stored["service"] = account.service;
  stored["linked"] = account.linked;
  for (const auto& [member, value] : account.values) stored[member] = value;
}

bool writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t size = ::write(descriptor, text.data(), text.size());
    if (size < 0 && errno == EINTR) continue;
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

/// Waits although the user interrupts: whoever holds the lock soon releases it, and tokens that are
/// not stored may be lost.
bool waitForLock(int descriptor) {
  int result = 0;
  do {
    result = ::flock(descriptor, LOCK_EX);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

/// Changes the file under a lock that excludes other processes. The lock is on a separate file
/// because the file with the accounts is replaced.
void changeAccounts(const std::function<void(Json& accounts)>& change) {
  makeAccountFolder();
  const path lock = accountFolder() / "accounts.lock";
  const OpenFile open(
      ::open(lock.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!open.isOpen() || !waitForLock(open.descriptor())) fail("cannot lock", lock);

  const path file = accountFile();
  const std::optional<std::string> text = readPrivateFile(file);
  const Json before = text ? parse(*text, file.string()) : Json::object();
  Json accounts = before;
  change(accounts);
  if (accounts != before) writeFile(accounts);
}

}  // namespace

bool operator==(const Account& left, const Account& right) {
  return left.service == right.service && left.linked == right.linked &&
         left.values == right.values;
}

Account newAccount(const std::string& service) {
  const std::time_t seconds = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  std::array<char, sizeof "YYYY-MM-DDTHH:MM:SSZ"> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return {service, text.data(), {}};
}

Accounts readAccounts() {
  const path file = accountFile();
  const std::optional<std::string> text = readPrivateFile(file);
  return text ? parseAccounts(*text, file.string()) : Accounts();
}

Accounts parseAccounts(const std::string& text, const std::string& file) {
  Accounts accounts;
  const Json stored = parse(text, file);
  for (const auto& [name, account] : stored.items()) accounts[name] = accountFrom(name, account);
  return accounts;
}

bool storeAccount(const std::string& name, const Account& account) {
  bool existed = false;
  changeAccounts([&](Json& accounts) {
    existed = accounts.contains(name);
    accounts[name] = Json::object();
    write(account, accounts[name]);
  });
  return existed;
}

bool updateAccount(const std::string& name, const Account& before, const Account& after) {
  bool isCurrent = false;
  changeAccounts([&](Json& accounts) {
    isCurrent = accounts.contains(name) && accountFrom(name, accounts[name]) == before;
    if (isCurrent) write(after, accounts[name]);
  });
  return isCurrent;
}

bool removeAccount(const std::string& name) {
  bool existed = false;
  changeAccounts([&](Json& accounts) { existed = accounts.erase(name) > 0; });
  return existed;
}

}  // namespace tool
