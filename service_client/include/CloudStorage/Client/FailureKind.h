#pragma once

#include <cstdint>

namespace CloudStorage::Client {

/// What a failure means for the user and the host, across all services: what can be done about it.
/// The numbers cross the C interface and are part of the binary interface; its header describes
/// them.
enum class FailureKind : std::uint8_t {
  None = 0,
  LinkAgain = 1,
  Wait = 2,
  Offline = 3,
  TimedOut = 4,
  NotTrusted = 5,
  Denied = 6,
  NotFound = 7,
  ExistsAlready = 8,
  NameNotAllowed = 9,
  Quota = 10,
  WrongKeys = 11,
  WrongClock = 12,
  WrongRegion = 13,
  ServiceTrouble = 14,
  NotUnderstood = 15,
  Cancelled = 16,
  Deadline = 17,
  HostFault = 18,
};

}  // namespace CloudStorage::Client
