#pragma once

#include <libvemlo.hpp>
#include <string>
#include <vector>

namespace tool {

struct Service {
  vemlo::Service id;
  /// The name that the user gives.
  std::string name;
  /// The name in messages.
  std::string title;
  /// The term of an object store for a bucket; empty for a drive.
  std::string bucketWord;
  /// Whether names of folders that differ in case only are the same.
  bool ignoresCase;
  /// The texts that the account file has for an account.
  std::vector<std::string> members;

  bool isDrive() const { return bucketWord.empty(); }
};

const std::vector<Service>& services();

/// The service with this name; null if there is none.
const Service* findService(const std::string& name);

/// The service with this name. Throws CommandFailure if there is none.
const Service& serviceNamed(const std::string& name);

std::vector<std::string> serviceNames();

/// The names of all services, separated by ", ".
std::string listOfServices();

}  // namespace tool
