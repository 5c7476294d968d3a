#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "CloudStorage/Client/WSClient.h"
#include "libvemlo.h"
#include "operation.h"

namespace Behaviour {

/// A failure as the library sees it.
struct Failure {
  int type = 0;
  std::string name;
  std::string message;
  int status = 0;
  bool retryable = false;
};

/// An error response of a service, and the failure that the library should derive from it.
struct Refusal {
  CloudStorage::Http::Response response;
  Failure failure;
};

/// The purpose of a request, in terms that all services share.
enum class Subject {
  Unknown,
  Tokens,
  Preparation,  ///< precedes the request of the operation itself
  Page,         ///< folders in the parent
  Creation,     ///< of a folder in the parent
  Root,
  Profile,
  Buckets,
  BucketCreation
};

/// Some folders in the order of the service, and the token of the next page, if any.
struct Page {
  std::vector<Folder> folders;
  std::string next;
};

/// A service: its operations in the C interface, and its protocol.
class Service {
 public:
  /// The result of creating a second folder of the same name.
  enum class Twin { Refused, SecondFolder, SameFolder };

  struct Facts {
    const char* name = nullptr;
    void (*cleanup)(session* handle) = nullptr;
    bool usesTokens = true;
    bool listsAllPages = true;
    bool mayBeClosedDuringCalls = true;
    /// Additional requests for the first page.
    unsigned probes = 0;
    /// Attempts to send a request to a host that cannot be reached.
    unsigned attemptsIfUnreachable = 1;
    Twin twin = Twin::Refused;
  };

  explicit Service(const Facts& serviceFacts) : facts(serviceFacts) {}
  virtual ~Service() = default;
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  const Facts facts;

  // The C interface.

  /// Opens a session as a host does, and replaces its client by one in `environment`.
  virtual session* open(const CloudStorage::Client::ClientEnvironment& environment) const = 0;
  /// The client of a session, unless the session is its only owner.
  virtual std::weak_ptr<void> clientOf(const session& handle) const = 0;
  /// Exchanges a code for tokens, if the service uses tokens.
  virtual int authorize(session* handle) const = 0;
  /// Sets tokens that the host has stored, if the service uses tokens.
  virtual int restore(session* /*handle*/, const std::string& /*accessToken*/,
                      const std::string& /*refreshToken*/) const {
    return 0;
  }
  /// Lists the folders in the parent.
  virtual Operation listing() const = 0;
  /// Creates a folder in the parent.
  virtual Operation creationOf(const std::string& name) const = 0;
  virtual std::vector<Operation> otherOperations() const = 0;

  /// What an operation returns after `failure`, and the text of the failure in the log.
  virtual int resultOf(const Failure& failure) const = 0;
  virtual std::string textOf(const Failure& failure) const = 0;

  // The protocol.

  virtual Subject subjectOf(const CloudStorage::Http::Request& request) const = 0;
  /// Of the requested page; empty for the first.
  virtual std::string tokenIn(const CloudStorage::Http::Request& request) const = 0;
  /// Of the folder to create.
  virtual std::string nameIn(const CloudStorage::Http::Request& request) const = 0;
  /// The record of the `number`th folder that was created.
  virtual Folder folderNamed(const std::string& name, std::size_t number) const = 0;

  virtual std::string bodyOf(const Page& page) const = 0;
  virtual CloudStorage::Http::Response creationResponse(const Folder& folder) const = 0;
  /// The body of the response to a request that concerns neither folders in the parent nor tokens.
  virtual std::string bodyAbout(Subject subject) const = 0;

  virtual Refusal accessDenied() const = 0;
  /// Of services with tokens.
  virtual Refusal tokenExpired() const { return {}; }
  /// Of services that refuse a second folder of the same name.
  virtual Refusal nameTaken() const { return {}; }

  std::vector<Operation> operations() const {
    std::vector<Operation> all = otherOperations();
    all.push_back(listing());
    all.push_back(creationOf("new"));
    return all;
  }
};

inline void PrintTo(const Service* service, std::ostream* out) { *out << service->facts.name; }

const Service& s3();
const Service& azureBlobs();
const Service& amazonDrive();
const Service& googleDrive();
const Service& oneDrive();
const Service& dropbox();

}  // namespace Behaviour
