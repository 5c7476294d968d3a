#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>

#include "CloudStorage/Client/AmazonDrive/Model.h"
#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "CloudStorage/Client/AzureSSB/Model.h"
#include "CloudStorage/Client/Dropbox/Model.h"
#include "CloudStorage/Client/GoogleDrive/Model.h"
#include "CloudStorage/Client/OneDrive/Model.h"
#include "CloudStorage/Client/RetryStrategy.h"
#include "CloudStorage/Client/S3/Model.h"
#include "CloudStorage/Client/SerializableWSRequest.h"
#include "CloudStorage/Client/StreamingWSRequest.h"

namespace {

namespace Client = CloudStorage::Client;
using Client::SerializableWSRequest;
using Client::StreamingWSRequest;
using Client::WSRequest;
using CloudStorage::Http::CONTENT_TYPE_HEADER;
using CloudStorage::Http::HeaderValueCollection;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class PlainRequest : public WSRequest {
 public:
  std::shared_ptr<std::iostream> getBody() const override { return nullptr; }
  HeaderValueCollection getHeaders() const override { return {}; }
};

/// A request with given specific headers.
template <typename Base>
class With : public Base {
 public:
  explicit With(HeaderValueCollection headers = {}) : headers_(std::move(headers)) {}
  HeaderValueCollection getRequestSpecificHeaders() const override { return headers_; }

 private:
  HeaderValueCollection headers_;
};

template <typename Base>
class WithPayload : public With<Base> {
 public:
  explicit WithPayload(std::string payload, HeaderValueCollection headers = {})
      : With<Base>(std::move(headers)), payload_(std::move(payload)) {}
  std::string serializePayload() const override { return payload_; }

 private:
  std::string payload_;
};

using Serializable = WithPayload<SerializableWSRequest>;
using Streaming = With<StreamingWSRequest>;

template <typename Base>
class OnlyPayload : public Base {
 public:
  std::string serializePayload() const override { return "payload"; }
};

std::string readAll(std::iostream& stream) {
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// The slot of a virtual function in the table, read from the platform's form of a member pointer.
template <typename Member>
std::ptrdiff_t slotOf(Member member) {
  std::array<std::ptrdiff_t, 2> words{};
  static_assert(sizeof(member) == sizeof(words));
  std::memcpy(words.data(), &member, sizeof(words));
  return (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

TEST(WSRequest, HasItsVirtualFunctionsInTheDocumentedOrder) {
  static_assert(std::has_virtual_destructor_v<WSRequest>);
  EXPECT_EQ(slotOf(&WSRequest::getBody), 2);  // the destructor has two entries
  EXPECT_EQ(slotOf(&WSRequest::getHeaders), 3);
  EXPECT_EQ(slotOf(&WSRequest::addQueryStringParameters), 4);
  EXPECT_EQ(slotOf(&WSRequest::doesRequireAuthorization), 5);
  EXPECT_EQ(slotOf(&WSRequest::shouldComputeContentMd5), 6);
  EXPECT_EQ(slotOf(&WSRequest::getRequestSpecificHeaders), 7);
  EXPECT_EQ(slotOf(&SerializableWSRequest::serializePayload), 8);
}

TEST(RetryStrategyInterface, HasItsVirtualFunctionsInTheDocumentedOrder) {
  static_assert(std::has_virtual_destructor_v<Client::RetryStrategy>);
  EXPECT_EQ(slotOf(&Client::RetryStrategy::shouldRetry), 2);
  EXPECT_EQ(slotOf(&Client::RetryStrategy::getDelayBeforeNextRetry), 3);
}

TEST(WSRequest, RequiresBodyAndHeadersOfItsSubclasses) {
  static_assert(std::is_abstract_v<WSRequest>);
  static_assert(std::is_abstract_v<SerializableWSRequest>);
  static_assert(std::is_base_of_v<WSRequest, SerializableWSRequest>);
  static_assert(std::is_base_of_v<WSRequest, StreamingWSRequest>);
}

TEST(WSRequest, ThatOverridesNothingIsSentWithAuthorizationAndWithoutAContentMd5) {
  const PlainRequest request;
  EXPECT_TRUE(request.doesRequireAuthorization());
  EXPECT_FALSE(request.shouldComputeContentMd5());
}

TEST(WSRequest, ThatOverridesNothingHasNoSpecificHeadersAndNoParameters) {
  const PlainRequest request;
  EXPECT_THAT(request.getRequestSpecificHeaders(), IsEmpty());
  auto uri = *CloudStorage::Http::URI::parse("https://host.example/path?a=b");
  request.addQueryStringParameters(uri);
  EXPECT_EQ(uri.toString(), "https://host.example/path?a=b");
}

TEST(SerializableWSRequest, WithAnEmptyPayloadHasNoBodyAtAll) {
  EXPECT_EQ(Serializable("").getBody(), nullptr);
}

TEST(SerializableWSRequest, HasItsWholePayloadAsItsBody) {
  const std::string payload("two\r\nlines, a \0 and \xFF", 21);
  const Serializable request(payload);
  const auto body = request.getBody();
  ASSERT_NE(body, nullptr);
  EXPECT_EQ(readAll(*body), payload);
}

TEST(SerializableWSRequest, ConstructsANewBodyEachTime) {
  const Serializable request("payload");
  const auto first = request.getBody();
  EXPECT_EQ(readAll(*first), "payload");
  const auto second = request.getBody();
  EXPECT_NE(first, second);
  EXPECT_EQ(readAll(*second), "payload");
}

template <typename Request>
Request make(HeaderValueCollection headers) {
  if constexpr (std::is_same_v<Request, Serializable>) {
    return Request("payload", std::move(headers));
  } else {
    return Request(std::move(headers));
  }
}

template <typename Request>
class ContentType : public testing::Test {};

using RequestsWithABody = testing::Types<Serializable, Streaming>;
TYPED_TEST_SUITE(ContentType, RequestsWithABody);

TYPED_TEST(ContentType, IsTheMembersUnlessTheSpecificHeadersNameOne) {
  auto request = make<TypeParam>({{"x-specific", "value"}});
  request.contentType = "text/plain";
  EXPECT_THAT(request.getHeaders(),
              ElementsAre(Pair(CONTENT_TYPE_HEADER, "text/plain"), Pair("x-specific", "value")));
}

TYPED_TEST(ContentType, OfTheSpecificHeadersWins) {
  auto request = make<TypeParam>({{CONTENT_TYPE_HEADER, "image/png"}});
  request.contentType = "text/plain";
  EXPECT_THAT(request.getHeaders(), ElementsAre(Pair(CONTENT_TYPE_HEADER, "image/png")));
}

TYPED_TEST(ContentType, OfTheSpecificHeadersWinsEvenIfItIsEmpty) {
  auto request = make<TypeParam>({{CONTENT_TYPE_HEADER, ""}});
  request.contentType = "text/plain";
  EXPECT_THAT(request.getHeaders(), ElementsAre(Pair(CONTENT_TYPE_HEADER, "")));
}

TYPED_TEST(ContentType, IsAddedEvenIfTheMemberIsEmpty) {
  const auto request = make<TypeParam>({});
  EXPECT_THAT(request.contentType, IsEmpty());
  EXPECT_THAT(request.getHeaders(), ElementsAre(Pair(CONTENT_TYPE_HEADER, "")));
}

TEST(StreamingWSRequest, SharesItsBodyWithTheCaller) {
  Streaming request;
  const auto stream = std::make_shared<std::stringstream>("content");
  request.body = stream;
  EXPECT_EQ(request.getBody(), stream);
  EXPECT_EQ(request.getBody(), stream);
  EXPECT_EQ(readAll(*request.getBody()), "content");
}

TEST(StreamingWSRequest, WithoutAStreamHasNoBody) { EXPECT_EQ(Streaming().getBody(), nullptr); }

template <typename Request>
class ServiceRequest : public testing::Test {};

using ServiceRequests =
    testing::Types<Client::S3::S3Request, Client::AzureSSB::AzureSSBRequest,
                   Client::AmazonDrive::AmazonDriveRequest, Client::GoogleDrive::GoogleDriveRequest,
                   Client::OneDrive::OneDriveRequest, Client::Dropbox::DropboxRequest>;
TYPED_TEST_SUITE(ServiceRequest, ServiceRequests);

TYPED_TEST(ServiceRequest, OverridesNothing) {
  static_assert(std::is_base_of_v<SerializableWSRequest, TypeParam>);
  static_assert(std::is_abstract_v<TypeParam>);
  OnlyPayload<TypeParam> request;
  request.contentType = "some/type";
  EXPECT_TRUE(request.doesRequireAuthorization());
  EXPECT_FALSE(request.shouldComputeContentMd5());
  EXPECT_THAT(request.getRequestSpecificHeaders(), IsEmpty());
  EXPECT_THAT(request.getHeaders(), ElementsAre(Pair(CONTENT_TYPE_HEADER, "some/type")));
  EXPECT_EQ(readAll(*request.getBody()), "payload");
  auto uri = *CloudStorage::Http::URI::parse("https://host.example/");
  request.addQueryStringParameters(uri);
  EXPECT_THAT(uri.query(), IsEmpty());
}

TEST(AmazonDriveRequests, WithoutABodyAreSentWithoutOne) {
  using namespace Client::AmazonDrive::Model;  // NOLINT(google-build-using-namespace)
  EXPECT_EQ(ComRequest().serializePayload(), "");
  EXPECT_EQ(ComRequest().getBody(), nullptr);
  EXPECT_EQ(ListFileResourceRequest().serializePayload(), "");
  EXPECT_EQ(ListFileResourceRequest().getBody(), nullptr);
}

// The layout matters to hosts whose own layer reads the members.
template <typename... Members>
void expectInThisOrder(const Members&... members) {
  const std::array<const void*, sizeof...(members)> addresses{&members...};
  EXPECT_TRUE(std::is_sorted(addresses.begin(), addresses.end(), std::less<>()));
}

TEST(Field, IsAbsentUntilItIsAssignedOrMarked) {
  CloudStorage::Util::Field<std::string> field;
  EXPECT_FALSE(field.isPresent());
  field = "";
  EXPECT_TRUE(field.isPresent());
  EXPECT_EQ(field.value(), "");

  CloudStorage::Util::Field<int> withDefault(7);
  EXPECT_FALSE(withDefault.isPresent());
  EXPECT_EQ(withDefault.value(), 7);
  withDefault.markPresent();
  EXPECT_TRUE(withDefault.isPresent());
  EXPECT_EQ(withDefault.value(), 7);
}

TEST(ListObjectsV2Request, BeginsWithoutAnyParameterAndHasNoBody) {
  const Client::S3::Model::ListObjectsV2Request request;
  static_assert(std::is_base_of_v<Client::S3::S3Request, decltype(request)>);
  EXPECT_FALSE(request.bucket.isPresent());
  EXPECT_FALSE(request.prefix.isPresent());
  EXPECT_FALSE(request.delimiter.isPresent());
  EXPECT_FALSE(request.continuationToken.isPresent());
  EXPECT_FALSE(request.encodingType.isPresent());
  EXPECT_FALSE(request.maxKeys.isPresent());
  EXPECT_FALSE(request.startAfter.isPresent());
  EXPECT_THAT(request.contentType, IsEmpty());
  EXPECT_EQ(request.getBody(), nullptr);
}

TEST(PutObjectRequest, BeginsWithoutParametersBodyAndContentType) {
  const Client::S3::Model::PutObjectRequest request;
  static_assert(std::is_base_of_v<StreamingWSRequest, decltype(request)>);
  EXPECT_THAT(request.bucket, IsEmpty());
  EXPECT_FALSE(request.contentLength.isPresent());
  EXPECT_FALSE(request.key.isPresent());
  EXPECT_EQ(request.getBody(), nullptr);
  EXPECT_THAT(request.getHeaders(), ElementsAre(Pair(CONTENT_TYPE_HEADER, "")));
  expectInThisOrder(request.bucket, request.contentLength, request.key);
}

TEST(PutObjectRequest, SharesItsBodyWithTheCaller) {
  Client::S3::Model::PutObjectRequest request;
  request.body = std::make_shared<std::stringstream>("content");
  EXPECT_EQ(request.getBody(), request.body);
}

TEST(AzureSSBRequest, HasXmlAsItsContentTypeAndIsOtherwiseEmpty) {
  const OnlyPayload<Client::AzureSSB::AzureSSBRequest> request;
  EXPECT_EQ(request.contentType, "application/xml");
  EXPECT_THAT(request.getHeaders(), ElementsAre(Pair(CONTENT_TYPE_HEADER, "application/xml")));
  EXPECT_THAT(request.getRequestSpecificHeaders(), IsEmpty());
}

template <typename Request>
class AzureModel : public testing::Test {};

using AzureModels = testing::Types<
    Client::AzureSSB::Model::ListContainerRequest, Client::AzureSSB::Model::CreateContainerRequest,
    Client::AzureSSB::Model::ListBlobRequest, Client::AzureSSB::Model::PutBlobRequest>;
TYPED_TEST_SUITE(AzureModel, AzureModels);

TYPED_TEST(AzureModel, HasTheContentTypeOfItsBaseAndNoBody) {
  const TypeParam request;
  static_assert(std::is_base_of_v<Client::AzureSSB::AzureSSBRequest, TypeParam>);
  EXPECT_EQ(request.contentType, "application/xml");
  EXPECT_THAT(request.getHeaders(), ElementsAre(Pair(CONTENT_TYPE_HEADER, "application/xml")));
  EXPECT_EQ(request.serializePayload(), "");
  EXPECT_EQ(request.getBody(), nullptr);
}

TEST(AzureModels, BeginWithoutAnyParameter) {
  const Client::AzureSSB::Model::ListContainerRequest containers;
  EXPECT_FALSE(containers.prefix.isPresent());
  EXPECT_FALSE(containers.marker.isPresent());
  EXPECT_FALSE(containers.maxResults.isPresent());
  expectInThisOrder(containers.prefix, containers.marker, containers.maxResults);

  EXPECT_THAT(Client::AzureSSB::Model::CreateContainerRequest().container, IsEmpty());

  const Client::AzureSSB::Model::ListBlobRequest blobs;
  EXPECT_FALSE(blobs.container.isPresent());
  EXPECT_FALSE(blobs.prefix.isPresent());
  EXPECT_FALSE(blobs.marker.isPresent());
  EXPECT_FALSE(blobs.maxResults.isPresent());
  EXPECT_FALSE(blobs.delimiter.isPresent());
  expectInThisOrder(blobs.container, blobs.prefix, blobs.marker, blobs.maxResults, blobs.delimiter);

  const Client::AzureSSB::Model::PutBlobRequest blob;
  EXPECT_THAT(blob.container, IsEmpty());
  EXPECT_FALSE(blob.contentLength.isPresent());
  EXPECT_FALSE(blob.blob.isPresent());
  EXPECT_FALSE(blob.blobType.isPresent());
  EXPECT_EQ(blob.body, nullptr);
  expectInThisOrder(blob.container, blob.contentLength, blob.blob, blob.blobType, blob.body);
}

TEST(PutBlobRequest, SendsItsBlobTypeAsAHeaderAndSharesItsBody) {
  Client::AzureSSB::Model::PutBlobRequest request;
  request.blobType = Client::AzureSSB::AzureSSBClient::BLOB_TYPE_BLOCK_BLOB;
  request.body = std::make_shared<std::stringstream>("content");
  EXPECT_THAT(request.getHeaders(), ElementsAre(Pair(CONTENT_TYPE_HEADER, "application/xml"),
                                                Pair("x-ms-blob-type", "BlockBlob")));
  EXPECT_EQ(request.getBody(), request.body);
}

}  // namespace
