// A host that links an S3 or Google Drive account and lets its user pick the folder for transfers.
// Ctrl-C ends a call.
//
//   link_account s3 ENDPOINT                            keys in S3_ACCESS_KEY and S3_SECRET_KEY
//   link_account google-drive TOKEN-FILE [PROXY-HOST PROXY-PORT]
//
// Exit codes: 0 after a line "Chosen: ...", 1 if no folder was chosen, 2 on bad usage.
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <libvemlo.hpp>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "console.h"
#include "token_file.h"

namespace {

// What the user is told about a call that failed.
struct Problem : std::runtime_error {
  vemlo::Kind kind;
  Problem(const std::string& message, vemlo::Kind itsKind)
      : std::runtime_error(message), kind(itsKind) {}
};

const char* adviceFor(vemlo::Kind kind) {
  switch (kind) {
    case vemlo::Kind::LinkAgain:
      return "Link the account again.";
    case vemlo::Kind::Offline:
      return "Check the network and the proxy.";
    case vemlo::Kind::NotTrusted:
      return "The server cannot be trusted. Ask who runs the network.";
    case vemlo::Kind::Denied:
      return "Ask the account's owner for access.";
    case vemlo::Kind::ExistsAlready:
    case vemlo::Kind::NameNotAllowed:
      return "Choose another name.";
    case vemlo::Kind::Quota:
      return "Free some space.";
    case vemlo::Kind::WrongKeys:
      return "Check the keys.";
    case vemlo::Kind::WrongClock:
      return "Set this computer's clock.";
    case vemlo::Kind::Wait:
    case vemlo::Kind::TimedOut:
    case vemlo::Kind::ServiceTrouble:
    case vemlo::Kind::Deadline:
      return "Try again later.";
    case vemlo::Kind::Cancelled:
      return "You ended it.";
    default:
      return "The log says more.";
  }
}

// What Ctrl-C ends. A signal handler may trigger it.
vemlo::Cancellation* cancellation = nullptr;

void endCalls(int /*signal*/) { cancellation->trigger(); }

// Returns whether the call continues.
bool showProgress(const vemlo::Progress& progress) {
  if (progress.entries >= 1000) std::cout << progress.entries << " entries so far\n";
  return true;
}

vemlo::Call newCall() {
  vemlo::Call call = vemlo::Call::within(std::chrono::seconds(30));
  call.cancellation = cancellation;
  call.progress = showProgress;
  return call;
}

// The result of `function`, which makes a call.
template <typename Function>
auto attemptTo(const std::string& what, Function function) {
  try {
    return function(newCall());
  } catch (const vemlo::Failure& failure) {
    throw Problem(
        "Cannot " + what + " (" + nameOf(failure.kind()) + "). " + adviceFor(failure.kind()),
        failure.kind());
  }
}

// A folder, in whatever way its account finds it again.
struct Place {
  std::string name;
  std::string bucket;
  // The prefix in the bucket, or the id of a drive's folder.
  std::string id;
};

class Account {
 public:
  Account() = default;
  virtual ~Account() = default;
  Account(const Account&) = delete;
  Account& operator=(const Account&) = delete;

  virtual std::vector<Place> roots() = 0;
  virtual std::vector<Place> folders(const Place& parent) const = 0;
  // Makes a folder and returns where the user continues.
  virtual Place makeFolder(const Place& parent, const std::string& name) const = 0;
  virtual std::string describe(const Place& place) const = 0;
};

class S3Account : public Account {
 public:
  explicit S3Account(const vemlo::S3Account& account) : session_(account) {}

  std::vector<Place> roots() override {
    return attemptTo("list the buckets", [&](const vemlo::Call& call) {
      std::vector<Place> roots;
      for (const auto name : session_.buckets(call)) {
        roots.push_back({std::string(name), std::string(name), ""});
      }
      return roots;
    });
  }

  std::vector<Place> folders(const Place& parent) const override {
    return attemptTo("list the folders", [&](const vemlo::Call& call) {
      std::vector<Place> places;
      for (const auto folder : session_.folders(parent.bucket, parent.id, call)) {
        const std::string name(folder.name());
        places.push_back({name, parent.bucket, name});
      }
      return places;
    });
  }

  Place makeFolder(const Place& parent, const std::string& name) const override {
    attemptTo("make the folder", [&](const vemlo::Call& call) {
      session_.createFolder(parent.bucket, parent.id + name + "/", call);
    });
    return parent;
  }

  std::string describe(const Place& place) const override { return place.bucket + "/" + place.id; }

 private:
  vemlo::S3 session_;
};

class GoogleDriveAccount : public Account {
 public:
  GoogleDriveAccount(const TokenFile& file, const vemlo::Proxy& proxy)
      : file_(file), session_(vemlo::Service::GoogleDrive, proxy) {}

  // Asks for consent only if there are no stored tokens, or if the service no longer accepts them.
  std::vector<Place> roots() override {
    if (const auto stored = file_.read()) {
      session_.setTokens(*stored);
      try {
        return {root()};
      } catch (const Problem& problem) {
        if (problem.kind != vemlo::Kind::LinkAgain) throw;
        std::cout << problem.what() << '\n';
      }
    }
    linkByConsent();
    return {root()};
  }

  std::vector<Place> folders(const Place& parent) const override {
    return attemptTo("list the folders", [&](const vemlo::Call& call) {
      std::vector<Place> places;
      for (const auto folder : session_.folders(parent.id, call)) {
        places.push_back(placeOf(folder.folder()));
      }
      return places;
    });
  }

  Place makeFolder(const Place& parent, const std::string& name) const override {
    return placeOf(attemptTo("make the folder", [&](const vemlo::Call& call) {
      return session_.createFolder(parent.id, name, call);
    }));
  }

  std::string describe(const Place& place) const override {
    return place.name + " (" + place.id + ")";
  }

 private:
  static Place placeOf(const vemlo::Folder& folder) { return {folder.name, "", folder.id}; }

  Place root() const {
    return placeOf(attemptTo("reach the account",
                             [&](const vemlo::Call& call) { return session_.root(call); }));
  }

  void linkByConsent() {
    std::cout << "Open this address and allow access:\n" << session_.authorizeUrl() << '\n';
    const std::string code =
        codeIn(readLine("Paste the code, or the address that you were sent to: "));
    file_.write(attemptTo("link the account",
                          [&](const vemlo::Call& call) { return session_.link(code, call); }));
  }

  const TokenFile& file_;
  vemlo::Drive session_;
};

// Shows the places and reads the user's choice; also the place, if the choice is its number.
std::pair<std::string, std::optional<Place>> readChoice(const std::vector<Place>& places,
                                                        const std::string& prompt) {
  std::size_t number = 0;
  for (const Place& place : places) std::cout << ++number << "  " << place.name << '\n';
  const std::string choice = readLine(prompt);
  number = numberIn(choice);
  if (number == 0 || number > places.size()) return {choice, std::nullopt};
  return {choice, places[number - 1]};
}

Place pickFolder(Account& account) {
  std::optional<Place> folder = readChoice(account.roots(), "Begin at number: ").second;
  if (!folder) throw std::runtime_error("No folder was chosen.");
  for (;;) {
    const auto [choice, child] = readChoice(
        account.folders(*folder), "Folder number, + and a name for a new one, or . for this one: ");
    if (choice == ".") return *folder;
    if (choice.substr(0, 1) == "+") {
      folder = account.makeFolder(*folder, choice.substr(1));
    } else if (child) {
      folder = child;
    }
  }
}

using Arguments = std::vector<std::string>;

std::string fromEnvironment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

bool isUsage(const Arguments& arguments) {
  const std::string service = arguments.empty() ? "" : arguments[0];
  return (service == "s3" && arguments.size() == 2) ||
         (service == "google-drive" && (arguments.size() == 2 || arguments.size() == 4));
}

std::unique_ptr<Account> openAccount(const Arguments& arguments, const TokenFile& file) {
  if (arguments[0] == "s3") {
    return std::make_unique<S3Account>(vemlo::S3Account{
        arguments[1], "", fromEnvironment("S3_ACCESS_KEY"), fromEnvironment("S3_SECRET_KEY")});
  }
  vemlo::Proxy proxy;
  if (arguments.size() == 4) {
    proxy.host = arguments[2];
    proxy.port = static_cast<std::uint16_t>(numberIn(arguments[3]));
  }
  return std::make_unique<GoogleDriveAccount>(file, proxy);
}

// Called by the library. A host with several accounts looks for the one whose stored refresh token
// is `usedRefreshToken`.
void storeRenewed(const TokenFile& file, const vemlo::RenewedTokens& renewed) noexcept {
  try {
    file.write({std::string(renewed.access), std::string(renewed.refresh)});
  } catch (const std::exception& error) {
    std::cout << "Cannot store the renewed tokens: " << error.what() << '\n';
  }
}

void linkAccount(const Arguments& arguments) {
  const TokenFile file(arguments[1]);
  vemlo::Settings settings;
  settings.tokensRenewed = [&](const vemlo::RenewedTokens& renewed) {
    storeRenewed(file, renewed);
  };
  const vemlo::Library library(settings);
  const auto account = openAccount(arguments, file);
  const Place chosen = pickFolder(*account);
  std::cout << "Chosen: " << account->describe(chosen) << '\n';
}

}  // namespace

int main(int argc, char** argv) {
  const Arguments arguments(argv + 1, argv + argc);
  if (!isUsage(arguments)) {
    std::cerr << "usage: link_account s3 ENDPOINT\n"
                 "       link_account google-drive TOKEN-FILE [PROXY-HOST PROXY-PORT]\n";
    return 2;
  }
  vemlo::Cancellation ctrlC;
  cancellation = &ctrlC;
  struct sigaction action = {};
  action.sa_handler = endCalls;
  sigaction(SIGINT, &action, nullptr);
  int status = 0;
  try {
    linkAccount(arguments);
  } catch (const std::exception& error) {
    std::cout << error.what() << '\n';
    status = 1;
  }
  // The cancellation ends before the handler would.
  std::signal(SIGINT, SIG_DFL);
  return status;
}
