#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "CloudStorage/Client/WSClient.h"
#include "operation.h"

namespace Behaviour {

/// Why a service does not do what it is asked, as the library sees it.
struct Failure {
  int type = 0;
  std::string name;
  std::string message;
  int status = 0;
  bool retryable = false;
};

/// An answer of a service that says so, and what the library should make of it.
struct Refusal {
  CloudStorage::Http::Response answer;
  Failure failure;
};

/// What a request is about, in words that all services share.
enum class Subject {
  Unknown,
  Tokens,
  Preparation,  ///< what has to be known before the request that matters
  Page,         ///< folders below the parent
  Creation,     ///< a folder below the parent
  Root,
  Buckets,
  BucketCreation
};

/// Some folders in the order of the service, and the token of those that follow; empty if none do.
struct Page {
  std::vector<Folder> folders;
  std::string next;
};

/// A service: how an account is opened and used through the C interface, and how it speaks.
class Service {
 public:
  /// What becomes of a second folder of the same name.
  enum class Twin { Refused, SecondFolder, SameFolder };

  struct Facts {
    const char* name = nullptr;
    void (*cleanup)(session* handle) = nullptr;
    bool usesTokens = true;
    bool listsAllPages = true;
    bool mayBeClosedDuringCalls = true;
    /// Requests for the first page beside the one that the listing is made of.
    unsigned probes = 0;
    /// How often a request is sent that nobody takes.
    unsigned sendsToNobody = 1;
    Twin twin = Twin::Refused;
  };

  explicit Service(const Facts& serviceFacts) : facts(serviceFacts) {}
  virtual ~Service() = default;
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  const Facts facts;

  // The C interface.

  /// Opens a session as a host does, and then puts it into `environment`.
  virtual session* open(const CloudStorage::Client::ClientEnvironment& environment) const = 0;
  /// Trades a code for tokens, if the service has such a thing.
  virtual int authorize(session* handle) const = 0;
  /// Lists the folders below the parent.
  virtual Operation listing() const = 0;
  /// Makes a folder below the parent.
  virtual Operation creationOf(const std::string& name) const = 0;
  virtual std::vector<Operation> otherOperations() const = 0;

  /// What an operation returns after `failure`, and how it words it.
  virtual int resultOf(const Failure& failure) const = 0;
  virtual std::string textOf(const Failure& failure) const = 0;

  // The wire.

  virtual Subject subjectOf(const CloudStorage::Http::Request& request) const = 0;
  /// Of the page that is asked for; empty for the first.
  virtual std::string tokenIn(const CloudStorage::Http::Request& request) const = 0;
  /// Of the folder that is to be made.
  virtual std::string nameIn(const CloudStorage::Http::Request& request) const = 0;
  /// The `number`th folder that was made, as a record of it reads.
  virtual Folder folderNamed(const std::string& name, std::size_t number) const = 0;

  virtual std::string written(const Page& page) const = 0;
  virtual CloudStorage::Http::Response created(const Folder& folder) const = 0;
  /// The answer to what has neither to do with folders nor with tokens.
  virtual std::string answerAbout(Subject subject) const = 0;

  virtual Refusal accessDenied() const = 0;
  /// Of services with tokens.
  virtual Refusal tokenExpired() const { return {}; }
  /// Of services that refuse twins.
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
