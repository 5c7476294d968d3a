#include "libvemlo/session.h"
#include "object_store.h"
#include "support/azure_fixture.h"
#include "wire.h"

namespace Behaviour {
namespace {

namespace Http = CloudStorage::Http;
namespace Client = CloudStorage::Client::AzureSSB;
using TestSupport::azureError;
using TestSupport::response;

constexpr char kAccount[] = "vemloacct";
constexpr char kHost[] = "vemloacct.blob.core.windows.net";

Service::Facts ownFacts() {
  Service::Facts facts;
  facts.name = "AzureBlobs";
  facts.cleanup = libvemlo_azure_ssb_cleanup;
  facts.usesTokens = false;
  facts.probes = 1;
  facts.twin = Service::Twin::SameFolder;
  return facts;
}

class AzureBlobs : public ObjectStore {
 public:
  AzureBlobs() : ObjectStore(ownFacts(), kHost) {}

  session* open(const CloudStorage::Client::ClientEnvironment& environment) const override {
    CloudStorage::Client::ClientParts parts;
    parts.credential = TestSupport::azureAuthentication(kAccount);
    parts.retryStrategy = std::make_shared<AzureSSBRetryStrategy>(nullptr);
    parts.errorMarshaller = std::make_shared<Client::AzureSSBErrorMarshaller>();

    session* handle = libvemlo_azure_ssb_init("", kAccount, TestSupport::kAzureKey, nullptr);
    handle->azure_ssb_client = std::make_shared<Client::AzureSSBClient>(
        kAccount, parts, environment, Client::Region::Global);
    return handle;
  }

  std::weak_ptr<void> clientOf(const session& handle) const override {
    return handle.azure_ssb_client;
  }

  Operation listing() const override {
    const auto arguments = [](session* handle, Outs& outs) {
      return std::tuple(handle, kBucket, kPrefix, &outs.folders.list, &outs.folders.count);
    };
    return operationOf(clearingOperation("ListDirectory"), azure_ssb_list_directory, arguments);
  }
  Operation creationOf(const std::string& name) const override {
    const auto arguments = [path = keyOf(name)](session* handle, Outs& /*outs*/) {
      return std::tuple(handle, kBucket, path.c_str());
    };
    return operationOf(silentOperation(), azure_ssb_create_directory, arguments, {1});
  }
  std::vector<Operation> otherOperations() const override {
    Operation create = loggedOperation("CreateBucket");
    create.afterFailure = Outs::State::Untouched;
    const auto listed = [](session* handle, Outs& outs) {
      return std::tuple(handle, &outs.buckets.list, &outs.buckets.count);
    };
    const auto created = [](session* handle, Outs& /*outs*/) {
      return std::tuple(handle, kNewBucket);
    };
    return {operationOf(clearingOperation("ListBucket"), azure_ssb_list_bucket, listed),
            operationOf(create, azure_ssb_create_bucket, created)};
  }

  std::string tokenIn(const Http::Request& request) const override {
    return parameterOf(request.uri, "marker");
  }

  std::string bodyOf(const Page& page) const override {
    return "<EnumerationResults><Blobs>" +
           joined(page.folders, "",
                  [](const Folder& folder) {
                    return "<BlobPrefix><Name>" + folder.name + "</Name></BlobPrefix>";
                  }) +
           "</Blobs><NextMarker>" + page.next + "</NextMarker></EnumerationResults>";
  }
  Http::Response creationResponse(const Folder& /*folder*/) const override { return response(201); }
  std::string bodyAbout(Subject subject) const override {
    if (subject != Subject::Buckets) return {};
    return "<EnumerationResults><Containers><Container><Name>box</Name></Container></Containers>"
           "<NextMarker/></EnumerationResults>";
  }

  Refusal accessDenied() const override {
    return {
        response(403, azureError("InsufficientAccountPermissions")),
        {15, "InsufficientAccountPermissions", "about InsufficientAccountPermissions", 403, false}};
  }

 private:
  /// Clears its outs before it checks the service of the session.
  static Operation clearingOperation(const char* name) {
    Operation operation = loggedOperation(name);
    operation.withSessionOfAnotherService = Outs::State::Cleared;
    return operation;
  }
};

}  // namespace

const Service& azureBlobs() {
  static const AzureBlobs service;
  return service;
}

}  // namespace Behaviour
