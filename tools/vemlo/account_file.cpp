#include "account_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include "command_failure.h"
#include "message.h"
#include "open_file.h"
#include "private_file.h"
#include "services.h"
#include "waiting.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;
using std::chrono::milliseconds;
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
std::vector<std::string> membersOf(const std::string& service) {
  const Service* known = findService(service);
  return known == nullptr ? std::vector<std::string>() : known->members;
}

bool hasText(const Json& account, const std::string& member) {
  return account.contains(member) && account[member].is_string();
}

/// The service of an account. Earlier versions named an account after its service.
std::string serviceOf(const std::string& name, const Json& account) {
  return hasText(account, "service") ? account["service"].get<std::string>() : name;
}

bool isAccount(const std::string& name, const Json& account) {
  // With such a name no location could be written.
  if (name.empty() || name.find(':') != std::string::npos) return false;
  if (!account.is_object() || !hasText(account, "linked")) return false;
  if (account.contains("service") && !account["service"].is_string()) return false;
  const std::vector<std::string> members = membersOf(serviceOf(name, account));
  return std::all_of(members.begin(), members.end(),
                     [&account](const std::string& member) { return hasText(account, member); });
}

/// An object with one member per account, with the account's name.
Json parse(const std::string& text, const std::string& file) {
  // What handles the result calls itself for each level.
  constexpr int kDeepest = 32;
  bool isIntact = true;
  const auto limitDepth = [&isIntact](int depth, Json::parse_event_t, const Json&) {
    isIntact &= depth <= kDeepest;
    return isIntact;
  };
  Json accounts = Json::parse(text, limitDepth, false);
  isIntact &= accounts.is_object();
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
  for (const std::string& member : membersOf(account.service)) {
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

/// Replaces the file atomically: a reader sees the old or the new file, also if writing fails. The
/// caller holds the lock.
void writeFile(const Json& accounts) {
  const std::string text = accounts.dump(2) + "\n";
  const path file = accountFile();
  // One name for all, so that what a killed process has left behind is removed here.
  const path temporary = file.string() + ".new";
  ::unlink(temporary.c_str());
  OpenFile open(
      ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!open.isOpen()) fail("cannot write", file);
  if (!writeAll(open.descriptor(), text) || !open.close() ||
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

/// Waits for a time, until the user interrupts the command or although the user does so.
using Wait = void (*)(milliseconds time);

/// Tries again and again, because a signal that arrives just before a blocking flock() would not
/// end it.
void takeLock(int descriptor, const path& lock, Wait wait) {
  constexpr milliseconds kPause{50};
  constexpr milliseconds kSilence{1000};
  milliseconds waited{0};
  while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) fail("cannot lock", lock);
    wait(kPause);
    waited += kPause;
    if (waited == kSilence) writeMessage("waiting for another vemlo, which changes the accounts");
  }
}

/// Changes the file under a lock that excludes other processes. The lock is on a separate file
/// because the file with the accounts is replaced.
void changeAccounts(Wait wait, const std::function<void(Json& accounts)>& change) {
  makeAccountFolder();
  const path lock = accountFolder() / "accounts.lock";
  const OpenFile open(
      ::open(lock.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!open.isOpen()) fail("cannot lock", lock);
  takeLock(open.descriptor(), lock, wait);

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
  changeAccounts(waitFor, [&](Json& accounts) {
    existed = accounts.contains(name);
    accounts[name] = Json::object();
    write(account, accounts[name]);
  });
  return existed;
}

bool updateAccount(const std::string& name, const Account& before, const Account& after) {
  bool isCurrent = false;
  // The user's interruption does not end the wait, because tokens that are not stored may be lost.
  const Wait wait = [](milliseconds time) { std::this_thread::sleep_for(time); };
  changeAccounts(wait, [&](Json& accounts) {
    isCurrent = accounts.contains(name) && accountFrom(name, accounts[name]) == before;
    if (isCurrent) write(after, accounts[name]);
  });
  return isCurrent;
}

bool removeAccount(const std::string& name) {
  bool existed = false;
  changeAccounts(waitFor, [&](Json& accounts) { existed = accounts.erase(name) > 0; });
  return existed;
}

}  // namespace tool
