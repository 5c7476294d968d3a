#pragma once

#include <CLI/App.hpp>
#include <memory>
#include <string>

#include "linked_account.h"
#include "location.h"
#include "proxy.h"

namespace tool {

/// Adds a command that `--help` lists among those for linked accounts.
///
/// Each command needs an arguments object of its own, which its callback keeps alive: an
/// environment variable that is read for one command would otherwise replace an option of another.
CLI::App& addAccountCommand(CLI::App& app, const std::string& name, const std::string& description);

/// Whether a command is one that `addAccountCommand` has added.
bool isAccountCommand(const CLI::App& command);

/// A check for an option whose value must not be empty, as that of a variable can be that is not
/// set.
std::string rejectEmpty(const std::string& value);

/// The arguments of a command about a place in a linked account.
struct LocationArguments {
  std::string location;
  std::string startId;
  ProxyOptions proxy;
};

void addLocationArguments(CLI::App& command, LocationArguments& arguments,
                          const std::string& description);

/// The account of a location, opened.
class OpenLocation {
 public:
  /// Throws CommandFailure if the account is not linked.
  OpenLocation(const LocationArguments& arguments, bool isQuiet);

  Storage& storage() const { return *storage_; }
  const std::string& account() const { return location_.account; }
  const std::string& path() const { return location_.path; }

 private:
  Location location_;
  OpenLibrary library_;
  std::unique_ptr<Storage> storage_;
};

}  // namespace tool
