#include "libvemlo/session.h"
#include "object_store.h"
#include "support/s3_fixture.h"
#include "wire.h"

namespace Behaviour {
namespace {

namespace Http = CloudStorage::Http;
namespace Client = CloudStorage::Client::S3;
using TestSupport::response;
using TestSupport::s3Error;

constexpr char kHost[] = "store.example.test";
constexpr char kEndpoint[] = "https://store.example.test";
constexpr int kNoLocation = 16;

Service::Facts ownFacts() {
  Service::Facts facts;
  facts.name = "S3";
  facts.cleanup = libvemlo_s3_cleanup;
  facts.usesTokens = false;
  facts.listsAllPages = false;
  facts.mayBeClosedDuringCalls = false;
  facts.twin = Service::Twin::SameFolder;
  return facts;
}

class S3 : public ObjectStore {
 public:
  S3() : ObjectStore(ownFacts(), kHost) {}

  session* open(const CloudStorage::Client::ClientEnvironment& environment) const override {
    CloudStorage::Client::ClientParts parts;
    parts.credential = std::make_shared<CloudStorage::Auth::AWSAuthCredential>(
        "AKIDVEMLOTEST0000001", "vemloTestSecretKey/0123456789+abcdefABCD", "s3", "us-east-1");
    parts.retryStrategy = std::make_shared<S3RetryStrategy>(nullptr);
    parts.errorMarshaller = std::make_shared<Client::S3ErrorMarshaller>();

    session* handle = libvemlo_s3_init(kEndpoint, "", "access key", "secret key", nullptr);
    delete handle->s3_client;
    handle->s3_client = new Client::S3Client(kEndpoint, "", parts, environment);
    return handle;
  }

  std::weak_ptr<void> clientOf(const session& /*handle*/) const override { return {}; }

  Operation listing() const override {
    Operation operation = loggedOperation("ListDirectory");
    return operationOf(operation, s3_list_directory, [](session* handle, Outs& outs) {
      return std::tuple(handle, kBucket, kPrefix, &outs.folders.list, &outs.folders.count);
    });
  }
  Operation creationOf(const std::string& name) const override {
    const auto arguments = [key = keyOf(name)](session* handle, Outs& /*outs*/) {
      return std::tuple(handle, kBucket, key.c_str());
    };
    return operationOf(silentOperation(), s3_create_directory, arguments, {1});
  }
  std::vector<Operation> otherOperations() const override {
    Operation list = loggedOperation("ListBucket");
    list.afterFailure = Outs::State::Untouched;
    Operation create = list;
    create.name = "CreateBucket";
    const auto listed = [](session* handle, Outs& outs) {
      return std::tuple(handle, &outs.buckets.list, &outs.buckets.count);
    };
    const auto created = [](session* handle, Outs& /*outs*/) {
      return std::tuple(handle, kNewBucket, kNoLocation);
    };
    return {operationOf(list, s3_list_bucket, listed),
            operationOf(create, s3_create_bucket, created, {1})};
  }

  std::string tokenIn(const Http::Request& request) const override {
    return parameterOf(request.uri, "continuation-token");
  }

  std::string bodyOf(const Page& page) const override {
    const std::string next = page.next.empty()
                                 ? ""
                                 : "<IsTruncated>true</IsTruncated><NextContinuationToken>" +
                                       page.next + "</NextContinuationToken>";
    return "<ListBucketResult>" + next +
           joined(page.folders, "",
                  [](const Folder& folder) {
                    return "<CommonPrefixes><Prefix>" + folder.name + "</Prefix></CommonPrefixes>";
                  }) +
           "</ListBucketResult>";
  }
  Http::Response creationResponse(const Folder& /*folder*/) const override { return response(200); }
  std::string bodyAbout(Subject subject) const override {
    if (subject != Subject::Buckets) return {};
    return "<ListAllMyBucketsResult><Buckets><Bucket><Name>box</Name></Bucket></Buckets>"
           "</ListAllMyBucketsResult>";
  }

  Refusal accessDenied() const override {
    return {response(403, s3Error("AccessDenied")),
            {15, "AccessDenied", "about AccessDenied", 403, false}};
  }
};

}  // namespace

const Service& s3() {
  static const S3 service;
  return service;
}

}  // namespace Behaviour
