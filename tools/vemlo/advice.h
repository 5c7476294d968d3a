#pragma once

#include <libvemlo.hpp>
#include <string>

#include "command_failure.h"
#include "services.h"

namespace tool {

/// Whose call it is, for messages.
struct Caller {
  const Service& service;
  /// The name of the linked account; empty if it is not linked but given by options.
  std::string account;
};

/// The account in messages, such as "Google Drive account 'work'".
std::string accountTitle(const Caller& caller);

/// The command that links the account of the caller, or would link it.
std::string loginCommand(const Caller& caller);

/// The failure of a call as one sentence: what could not be done, why, and what the user can do.
/// `action` is what was attempted, such as "list the buckets".
CommandFailure explain(const std::string& action, const vemlo::Failure& failure,
                       const Caller& caller);

}  // namespace tool
