#include "advice.h"

#include <chrono>

#include "error_numbers.h"
#include "open_library.h"

namespace tool {
namespace {

using vemlo::Kind;

struct Explanation {
  std::string reason;
  /// What the user can do; empty if that follows from the reason.
  std::string advice;
};

std::string whenToTryAgain(const vemlo::FailureDetails& details) {
  if (!details.retryAfter) return "try again in a few minutes";
  const auto seconds = details.retryAfter->count();
  return "try again in " + std::to_string(seconds) + (seconds == 1 ? " second" : " seconds");
}

std::string adviceOnKeys(const Caller& caller) {
  if (!caller.account.empty()) return "link the account again with `" + loginCommand(caller) + "`";
  return caller.service.id == vemlo::Service::S3 ? "check --access-key and --secret-key-file"
                                                 : "check --account and --key-file";
}

Explanation explainAccess(const vemlo::FailureDetails& details, const Caller& caller) {
  switch (details.kind) {
    case Kind::LinkAgain:
      if (details.operation == "exchangeAuthorizationCode") {
        return {"the code was not accepted",
                "codes are good once and for some minutes, so begin again with `" +
                    loginCommand(caller) + "`"};
      }
      return {caller.service.title + " no longer accepts the account's tokens",
              "link it again with `" + loginCommand(caller) + "`"};
    case Kind::Denied:
      return {"the account may not do this", "ask its administrator for access"};
    case Kind::NotTrusted:
      return {"the certificate of the service is not trusted",
              "do not continue before you know why, or name certificates to trust in "
              "SSL_CERT_FILE"};
    case Kind::WrongKeys:
      if (details.error == kUnknownAccessKey) {
        return {"the service does not know the access key", adviceOnKeys(caller)};
      }
      if (details.error == kSignatureMismatch) {
        return {"the secret key is wrong", adviceOnKeys(caller)};
      }
      return {"the service does not accept the keys", adviceOnKeys(caller)};
    default:
      return {"the clock of this computer is wrong", "set it"};
  }
}

Explanation explainName(const vemlo::FailureDetails& details, const Caller& caller) {
  switch (details.kind) {
    case Kind::NotFound:
      if (details.error == kNoBucket) {
        return {"there is no such " + caller.service.bucketWord, "check its name"};
      }
      return {"it does not exist", "check its name and that of the account"};
    case Kind::ExistsAlready:
      if (details.error == kTakenByAnotherAccount) {
        return {"the name is taken by another account", "choose another name"};
      }
      return {"there is something of this name already", "choose another name"};
    case Kind::NameNotAllowed:
      if (!caller.service.isDrive() && details.operation != "putObject" &&
          details.operation != "putBlob") {
        return {"the service does not allow this name",
                "use 3 to 63 lower-case letters, digits and hyphens"};
      }
      return {"the service does not allow this name", "choose another name"};
    case Kind::Quota:
      if (details.error == kTooManyBuckets) {
        return {"the account has as many " + caller.service.bucketWord + "s as it may have",
                "delete one, or ask the service for more"};
      }
      return {"the account has no space left", "free some space"};
    default:
      if (details.error == kNoLocation) {
        return {"the service has no such region", "choose another one with --region"};
      }
      return {"it is in another region", caller.account.empty()
                                             ? "give its region with --signing-region"
                                             : "link the account again with `" +
                                                   loginCommand(caller) + " --signing-region ID`"};
  }
}

Explanation explainTrouble(const vemlo::FailureDetails& details, const Caller& caller) {
  switch (details.kind) {
    case Kind::Wait:
      return {"there are too many requests, or another operation is in progress",
              whenToTryAgain(details)};
    case Kind::Offline:
      return {"the service was not reached", caller.service.id == vemlo::Service::S3
                                                 ? "check the network, the proxy and the endpoint"
                                             : caller.service.id == vemlo::Service::AzureBlobs
                                                 ? "check the network, the proxy and the account's "
                                                   "name"
                                                 : "check the network and the proxy"};
    case Kind::TimedOut:
    case Kind::Deadline:
      return {"the service did not respond in time", "try again later"};
    case Kind::ServiceTrouble:
      return {"the service failed", "try again later"};
    case Kind::Cancelled:
      return {"it was cancelled", ""};
    case Kind::HostFault:
      return {"the service does not accept how vemlo asks", "report it to whoever provides vemlo"};
    default:
      return {"the service's response has no meaning here",
              caller.service.id == vemlo::Service::S3
                  ? "check the endpoint, and the network for a sign-in page"
                  : "check the network for a sign-in page"};
  }
}

Explanation explanationOf(const vemlo::FailureDetails& details, const Caller& caller) {
  switch (details.kind) {
    case Kind::LinkAgain:
    case Kind::Denied:
    case Kind::NotTrusted:
    case Kind::WrongKeys:
    case Kind::WrongClock:
      return explainAccess(details, caller);
    case Kind::NotFound:
    case Kind::ExistsAlready:
    case Kind::NameNotAllowed:
    case Kind::Quota:
    case Kind::WrongRegion:
      return explainName(details, caller);
    default:
      return explainTrouble(details, caller);
  }
}

bool hasNameOfService(const Caller& caller) {
  return caller.account.empty() || caller.account == caller.service.name;
}

/// What the service says itself; empty if it says nothing.
std::string wordsOfService(const vemlo::FailureDetails& details) {
  const std::string& words =
      details.serviceMessage.empty() ? details.serviceCode : details.serviceMessage;
  const std::string request =
      details.requestId.empty() || !isVerbose() ? "" : "request " + details.requestId;
  if (words.empty() && request.empty()) return {};
  return " (" + words + (words.empty() || request.empty() ? "" : "; ") + request + ")";
}

}  // namespace

std::string accountTitle(const Caller& caller) {
  return caller.service.title + " account" +
         (hasNameOfService(caller) ? "" : " '" + caller.account + "'");
}

std::string loginCommand(const Caller& caller) {
  return "vemlo login " + caller.service.name +
         (hasNameOfService(caller) ? "" : " --as " + caller.account);
}

CommandFailure explain(const std::string& action, const vemlo::Failure& failure,
                       const Caller& caller) {
  const vemlo::FailureDetails& details = failure.details();
  Explanation explanation;
  if (details.service) {
    explanation = explanationOf(details, caller);
  } else {
    explanation.reason = failure.what();
  }
  const ExitCode code = details.code < 0 ? ExitCode::BadUsage : ExitCode::ServiceFailed;
  return {code, "cannot " + action + ": " + explanation.reason +
                    (explanation.advice.empty() ? "" : "; " + explanation.advice) +
                    wordsOfService(details)};
}

}  // namespace tool
