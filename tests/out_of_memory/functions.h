#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cloud.h"
#include "libvemlo.h"
#include "service.h"

namespace OutOfMemory {

/// A session and the account that it is for.
struct Account {
  const Behaviour::Service& service;
  Behaviour::Cloud& cloud;
  session* handle;
  /// What functions return when the service denies access.
  int resultOfDenial = 1;
};

/// An exported function. `call` calls it once, armed, and expects that it either does what it is
/// for, or returns and leaves in its outs what its comment states for a failure. Returns true in
/// the first case.
struct Function {
  std::string name;
  std::function<bool(const Account& account)> call;
};

/// The functions that take a session of a service.
std::vector<Function> functionsOf(const Behaviour::Service& service);
/// Lists the folders in the parent.
Function listingOf(const Behaviour::Service& service);
/// The functions that open a session. `call` closes it.
std::vector<Function> openingFunctions();
/// The functions for texts.
std::vector<Function> encryptionFunctions();
/// The functions that need no memory, so they cannot fail.
std::vector<Function> infallibleFunctions();

}  // namespace OutOfMemory
