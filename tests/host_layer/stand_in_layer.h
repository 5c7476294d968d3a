#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CloudStorage/Client/S3/S3Client.h"

/// A host's own service-client layer, just large enough to see what the library does with it.
namespace StandIn {

/// What the library has done with the layer since the last reset, and what the layer answers.
struct Journal {
  std::vector<std::string> calls;
  /// Of the S3 client that was made last.
  std::string firstClientString;
  std::string secondClientString;
  std::weak_ptr<CloudStorage::Auth::AuthorizationCredential> credential;

  bool clientConstructorsThrow = false;
  bool operationsFail = false;
};

Journal& journal();
void reset();

// What the parts of the layer do when they are made, and when they are told to fail.
void noteClient(const char* name,
                std::weak_ptr<CloudStorage::Auth::AuthorizationCredential> credential);
CloudStorage::Client::Error failure();

}  // namespace StandIn
