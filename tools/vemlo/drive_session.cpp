#include "drive_session.h"

#include <array>
#include <cstdlib>
#include <ctime>
#include <memory>

#include "command_failure.h"
#include "progress.h"
#include "result_codes.h"

namespace tool {
namespace {

/// Copies a text that the library has allocated and releases it. Empty for null.
std::string take(char* text) {
  const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
  return text == nullptr ? "" : text;
}

Folder take(directory* folder) {
  const std::unique_ptr<directory, decltype(&free_directory)> owner(folder, &free_directory);
  return {folder->name, folder->id};
}

/// The folder as the record that the library's functions read; points into `folder`.
directory record(Folder& folder) { return {folder.name.data(), folder.id.data()}; }

std::string loginCommand(const Drive& drive) { return "vemlo login " + drive.name; }

std::string encrypted(const std::string& token) {
  char* const ciphertext = encrypt_string(token.c_str());
  if (ciphertext == nullptr) {
    throw CommandFailure(ExitCode::LocalFailure, "the tokens cannot be enciphered");
  }
  return take(ciphertext);
}

std::string now() {
  const std::time_t seconds = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  std::array<char, sizeof "YYYY-MM-DDTHH:MM:SSZ"> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text.data();
}

}  // namespace

Account linkedAccount(const Drive& drive) {
  const std::map<std::string, Account> accounts = readAccounts();
  const auto found = accounts.find(drive.name);
  if (found == accounts.end()) {
    throw CommandFailure(
        ExitCode::BadUsage,
        "no " + drive.title + " account is linked; link one with `" + loginCommand(drive) + "`");
  }
  return found->second;
}

DriveSession::DriveSession(const Drive& drive, const Proxy& proxy, bool isQuiet)
    : drive_(drive), isQuiet_(isQuiet), session_([&] {
        const proxy_setting setting = proxy.setting();
        return drive.open(&setting);
      }) {}

DriveSession::DriveSession(const Drive& drive, const Account& account, const Proxy& proxy,
                           bool isQuiet)
    : DriveSession(drive, proxy, isQuiet) {
  use(account);
}

std::string DriveSession::authorizeUrl() const {
  char* url = nullptr;
  drive_.getAuthorizeUrl(session_.handle(), &url);
  return take(url);
}

std::string DriveSession::logoutUrl() const {
  char* url = nullptr;
  if (drive_.getLogoutUrl != nullptr) drive_.getLogoutUrl(session_.handle(), &url);
  return take(url);
}

Account DriveSession::link(const std::string& code) const {
  char* accessToken = nullptr;
  char* refreshToken = nullptr;
  require("link the account", [&] {
    return drive_.getToken(session_.handle(), code.c_str(), &accessToken, &refreshToken);
  });
  const std::string access = take(accessToken);
  const std::string refresh = take(refreshToken);
  return {now(), encrypted(access), encrypted(refresh)};
}

void DriveSession::use(const Account& account) {
  char* const accessToken = decrypt_string(account.accessToken.c_str());
  char* const refreshToken = decrypt_string(account.refreshToken.c_str());
  const bool isComplete = accessToken != nullptr && refreshToken != nullptr;
  const std::string access = take(accessToken);
  const std::string refresh = take(refreshToken);
  if (!isComplete) {
    throw CommandFailure(ExitCode::LocalFailure, "the stored tokens of the " + drive_.title +
                                                     " account are damaged; link it again with `" +
                                                     loginCommand(drive_) + "`");
  }
  drive_.setToken(session_.handle(), access.c_str(), refresh.c_str());
  hasStoredTokens_ = true;
}

void DriveSession::logAccountHolder() const {
  require("ask whose account it is", [this] { return drive_.logAccountHolder(session_.handle()); });
}

Folder DriveSession::root() const {
  if (drive_.getRoot == nullptr) return {};
  directory* root = nullptr;
  require("find the root folder", [&] { return drive_.getRoot(session_.handle(), &root); });
  return take(root);
}

std::vector<Folder> DriveSession::foldersIn(const Folder& parent, const std::string& path) const {
  Folder copy = parent;
  const directory parentRecord = record(copy);
  directory* children = nullptr;
  int count = 0;
  require("list the folders in " + path,
          [&] { return drive_.listFolders(session_.handle(), &parentRecord, &children, &count); });

  std::vector<Folder> folders;
  folders.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) folders.push_back({children[i].name, children[i].id});
  if (count > 0) {
    free_diretories(children, count);
  } else {
    std::free(children);
  }
  return folders;
}

Folder DriveSession::makeFolder(const Folder& parent, const std::string& name,
                                const std::string& path) const {
  Folder copy = parent;
  const directory parentRecord = record(copy);
  directory* made = nullptr;
  require(
      "make folder " + path,
      [&] { return drive_.makeFolder(session_.handle(), &parentRecord, name.c_str(), &made); },
      "if the log says that the name exists or conflicts, a file has it: choose another name");
  return take(made);
}

void DriveSession::require(const std::string& action, const std::function<int()>& call,
                           std::string advice) const {
  const int code = withProgress(isQuiet_, call);
  if (hasStoredTokens_) {
    advice += advice.empty() ? "" : "; ";
    advice +=
        "if the log says that the credential could not be refreshed, link the account again "
        "with `" +
        loginCommand(drive_) + "`";
    if (!drive_.lifetime.empty()) advice += " (" + drive_.lifetime + ")";
  }
  requireDriveSuccess(code, action, advice);
}

}  // namespace tool
