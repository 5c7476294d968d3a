#pragma once

#include <string>
#include <vector>

#include "any_service.h"
#include "operation.h"
#include "support/services.h"

namespace Faults {

/// What a host calls while a server misbehaves. The values are bits, so that sets are sums.
enum Call : unsigned {
  kStoreListing = 1,
  kStoreCreation = 2,
  kDriveListing = 4,
  kDriveCreation = 8,
  kCodeExchange = 16,
  kTokenRefresh = 32,  ///< a listing whose access token has expired
};
using Calls = unsigned;

constexpr Calls kListings = kStoreListing | kDriveListing;
constexpr Calls kTokenCalls = kCodeExchange | kTokenRefresh;
constexpr Calls kDriveCalls = kDriveListing | kDriveCreation | kTokenCalls;
constexpr Calls kAllCalls = kStoreListing | kStoreCreation | kDriveCalls;

const char* nameOf(Call call);
/// The requests of a call that a server attacks.
Behaviour::Subject subjectOf(Call call);
/// The calls that a service has.
std::vector<Call> callsOf(const Behaviour::Service& service);

/// The effects of a call on a host.
struct Effects {
  int code = 0;
  /// Whether the outs are as after a failure.
  bool isFailure = false;
  std::vector<Behaviour::Folder> folders;
};

Effects perform(Call call, const Behaviour::Service& service, session* handle);

/// What a call returns after a failure; 0 for the object stores, whose codes depend on the failure.
int failureCodeOf(Call call, const Behaviour::Service& service);
/// How the line may begin that a failure logs: of the call itself, or of a request that precedes
/// it. Empty if none is logged.
std::vector<std::string> failureTextsOf(Call call, const Behaviour::Service& service);

}  // namespace Faults
