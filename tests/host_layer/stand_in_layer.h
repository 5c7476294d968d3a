#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CloudStorage/Client/S3/S3Client.h"
#include "CloudStorage/Util/Outcome.h"

/// A minimal service-client layer of a host's own, which shows how the library uses it.
namespace StandIn {

/// What the library has done with the layer since the last reset, and how the layer behaves.
struct Journal {
  std::vector<std::string> calls;
  /// Of the S3 client that was constructed last.
  std::string firstClientString;
  std::string secondClientString;
  std::weak_ptr<CloudStorage::Auth::AuthorizationCredential> credential;

  bool clientConstructorsThrow = false;
  bool operationsFail = false;
  bool operationsThrow = false;
};

Journal& journal();
void reset();

/// The parts of a client whose construction is to be noted, and to fail if the journal demands it.
CloudStorage::Client::ClientParts notedParts(
    const std::string& clientName,
    std::shared_ptr<CloudStorage::Auth::AuthorizationCredential> credential);

CloudStorage::Client::Error failure();

/// Throws if the journal demands it.
void throwIfTold();

/// Every operation of every client: notes `call`, and fails or throws if the journal demands it.
template <typename Result>
CloudStorage::Util::Outcome<Result, CloudStorage::Client::Error> perform(std::string call,
                                                                         Result result) {
  journal().calls.push_back(std::move(call));
  throwIfTold();
  if (journal().operationsFail) return failure();
  return {std::move(result)};
}

}  // namespace StandIn
