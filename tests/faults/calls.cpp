#include "calls.h"

#include <algorithm>
#include <stdexcept>

namespace Faults {
namespace {

using Behaviour::Operation;
using Behaviour::Outs;
using Behaviour::Service;
using Behaviour::Subject;

constexpr char kCode[] = "4/0Ab+code";

Operation operationOf(Call call, const Service& service) {
  const bool isCreation = call == kStoreCreation || call == kDriveCreation;
  return isCreation ? service.creationOf("new") : service.listing();
}

const TestSupport::Drive& driveOf(const Service& service) {
  const TestSupport::Drive* const drives[] = {&TestSupport::kAmazonDrive, &TestSupport::kDropbox,
                                              &TestSupport::kGoogleDrive, &TestSupport::kOneDrive};
  for (const auto* drive : drives) {
    if (std::string(drive->name) == service.facts.name) return *drive;
  }
  throw std::invalid_argument("no drive");
}

Effects exchange(const Service& service, session* handle) {
  TestSupport::TextOut access;
  TestSupport::TextOut refresh;
  Effects effects;
  effects.code =
      driveOf(service).authorization.getToken(handle, kCode, &access.text, &refresh.text);
  effects.isFailure = access.text == nullptr && (refresh.text == nullptr || refresh.isUntouched());
  return effects;
}

}  // namespace

const char* nameOf(Call call) {
  switch (call) {
    case kStoreListing:
    case kDriveListing:
      return "Listing";
    case kStoreCreation:
    case kDriveCreation:
      return "Creation";
    case kCodeExchange:
      return "Exchange";
    case kTokenRefresh:
      return "Refresh";
  }
  return "";
}

Subject subjectOf(Call call) {
  switch (call) {
    case kStoreListing:
    case kDriveListing:
      return Subject::Page;
    case kStoreCreation:
    case kDriveCreation:
      return Subject::Creation;
    default:
      return Subject::Tokens;
  }
}

std::vector<Call> callsOf(const Service& service) {
  if (!service.facts.usesTokens) return {kStoreListing, kStoreCreation};
  return {kDriveListing, kDriveCreation, kCodeExchange, kTokenRefresh};
}

Effects perform(Call call, const Service& service, session* handle) {
  if (call == kCodeExchange) return exchange(service, handle);
  const Operation operation = operationOf(call, service);
  Outs outs;
  Effects effects;
  effects.code = operation.call(handle, outs);
  effects.isFailure = outs.state() == operation.afterFailure;
  if (outs.folders.isWritten() && outs.folders.count > 0) effects.folders = outs.folders.folders();
  return effects;
}

int failureCodeOf(Call call, const Service& service) {
  if (call == kCodeExchange) return driveOf(service).exchangeFailure;
  return service.facts.usesTokens ? 1 : 0;
}

std::vector<std::string> failureTextsOf(Call call, const Service& service) {
  if (call == kCodeExchange) {
    return {std::string("Failed to perform exchange authorization code. authorizationCode = ") +
            kCode + ", "};
  }
  const Operation operation = operationOf(call, service);
  if (!operation.failureText) return {};
  // The object stores log nothing but the error.
  if (operation.failureText->empty()) return {"{ Error type: "};
  return {*operation.failureText,
          operation.preparationFailureText.value_or(*operation.failureText)};
}

}  // namespace Faults
