#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <tuple>

#include "CloudStorage/Client/S3/S3Client.h"
#include "support/expectations.h"
#include "support/s3_fixture.h"

namespace {

namespace Http = CloudStorage::Http;
namespace Model = CloudStorage::Client::S3::Model;
using CloudStorage::Client::CoreErrors;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using TestSupport::expectInvalidRequest;
using TestSupport::expectMalformedResponse;
using TestSupport::response;
using TestSupport::s3Error;

constexpr int kCustomized = 16;

std::string documentFor(const std::string& region) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
         "<CreateBucketConfiguration xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\">"
         "<LocationConstraint>" +
         region + "</LocationConstraint></CreateBucketConfiguration>";
}

Model::CreateBucketRequest bucketAt(int location, const std::string& bucket = "vemlo-new") {
  Model::CreateBucketConfiguration configuration;
  configuration.locationConstraint = static_cast<Model::BucketLocationConstraint>(location);
  Model::CreateBucketRequest request;
  request.bucket = bucket;
  request.createBucketConfiguration = configuration;
  return request;
}

class S3CreateBucket : public ::testing::Test, protected TestSupport::S3Fixture {
 protected:
  // The address that a bucket of this name is put to.
  std::string addressOf(const std::string& bucket, const std::string& endpoint) {
    enqueue(response(200));
    EXPECT_TRUE(makeClient(endpoint)->createBucket(bucketAt(kCustomized, bucket)).isSuccess());
    return addresses().back();
  }
};

/// A location, its name in the document, and the hosts that replace the session's endpoint; empty
/// where the session's endpoint is used.
struct Place {
  int location;
  const char* stated;
  const char* awsHost;
  const char* chinaHost;
};

constexpr Place kPlaces[] = {
    {0, "", "s3.amazonaws.com", ""},
    {1, "us-east-2", "s3.us-east-2.amazonaws.com", ""},
    {2, "us-west-1", "s3.us-west-1.amazonaws.com", ""},
    {3, "us-west-2", "s3.us-west-2.amazonaws.com", ""},
    {4, "ap-south-1", "s3.ap-south-1.amazonaws.com", ""},
    {5, "ap-southeast-1", "s3.ap-southeast-1.amazonaws.com", ""},
    {6, "ap-southeast-2", "s3.ap-southeast-2.amazonaws.com", ""},
    {7, "ap-northeast-1", "s3.ap-northeast-1.amazonaws.com", ""},
    {8, "ap-northeast-2", "s3.ap-northeast-2.amazonaws.com", ""},
    {9, "sa-east-1", "s3.sa-east-1.amazonaws.com", ""},
    {10, "cn-north-1", "", "s3.cn-north-1.amazonaws.com.cn"},
    {11, "cn-northwest-1", "", "s3.cn-northwest-1.amazonaws.com.cn"},
    {12, "eu-central-1", "s3.eu-central-1.amazonaws.com", ""},
    {13, "eu-west-1", "s3.eu-west-1.amazonaws.com", ""},
    {14, "eu-west-2", "s3.eu-west-2.amazonaws.com", ""},
    {15, "ca-central-1", "s3.ca-central-1.amazonaws.com", ""},
    {16, "", "", ""},
};

enum class Owner { Aws, China, Other };

struct Store {
  const char* name;
  Owner owner;
  const char* endpoint;
  const char* address;
  const char* region;
};

constexpr Store kStores[] = {
    {"Global", Owner::Aws, "", "https://s3.amazonaws.com", "us-east-1"},
    {"Regional", Owner::Aws, "https://s3.eu-west-2.amazonaws.com",
     "https://s3.eu-west-2.amazonaws.com", "eu-west-2"},
    {"China", Owner::China, "https://s3.cn-north-1.amazonaws.com.cn",
     "https://s3.cn-north-1.amazonaws.com.cn", "cn-north-1"},
    {"Wasabi", Owner::Other, "s3.eu-central-1.wasabisys.com",
     "https://s3.eu-central-1.wasabisys.com", "eu-central-1"},
    {"Custom", Owner::Other, "http://store.example.test:9000/base/",
     "http://store.example.test:9000/base", "us-east-1"},
};

std::ostream& operator<<(std::ostream& out, const Place& place) { return out << place.location; }
std::ostream& operator<<(std::ostream& out, const Store& store) { return out << store.name; }

class EveryStoreAndPlace : public ::testing::TestWithParam<std::tuple<Store, Place>> {};

TEST_P(EveryStoreAndPlace, HostRegionAndDocumentAgree) {
  const auto& [store, place] = GetParam();
  TestSupport::S3Fixture fixture;
  fixture.enqueue(response(200));
  EXPECT_TRUE(
      fixture.makeClient(store.endpoint)->createBucket(bucketAt(place.location)).isSuccess());

  std::string host;
  if (store.owner == Owner::Aws) host = place.awsHost;
  if (store.owner == Owner::China) host = place.chinaHost;
  std::string region = store.region;
  if (!host.empty()) region = place.location == 0 ? "us-east-1" : place.stated;

  ASSERT_THAT(fixture.requests(), SizeIs(1));
  const auto request = fixture.requests()[0];
  EXPECT_EQ(request.method, Http::Method::Put);
  EXPECT_EQ(request.uri.toString(),
            (host.empty() ? store.address : "https://" + host) + "/vemlo-new");
  EXPECT_THAT(fixture.regions(), ElementsAre(region));

  const std::string stated = place.stated;
  EXPECT_EQ(request.body, stated.empty() ? "" : documentFor(stated));
  const auto type = request.headers.find("content-type");
  EXPECT_EQ(type == request.headers.end() ? "" : type->second,
            stated.empty() ? "" : "application/xml");
}

INSTANTIATE_TEST_SUITE_P(S3CreateBucket, EveryStoreAndPlace,
                         ::testing::Combine(::testing::ValuesIn(kStores),
                                            ::testing::ValuesIn(kPlaces)),
                         [](const auto& row) {
                           return std::string(std::get<0>(row.param).name) +
                                  std::to_string(std::get<1>(row.param).location);
                         });

// The signature was computed by an independent signer.
TEST_F(S3CreateBucket, ChineseRequestIsExactlyThis) {
  enqueue(response(200));
  const auto client = makeClient("https://s3.cn-north-1.amazonaws.com.cn");
  EXPECT_TRUE(client->createBucket(bucketAt(10, "vemlo-cn")).isSuccess());
  ASSERT_THAT(requests(), SizeIs(1));
  const auto request = requests()[0];
  EXPECT_EQ(request.uri.toString(), "https://s3.cn-north-1.amazonaws.com.cn/vemlo-cn");
  EXPECT_THAT(
      request.headers,
      ElementsAre(
          Pair("authorization",
               "AWS4-HMAC-SHA256 "
               "Credential=AKIDVEMLOTEST0000001/20240229/cn-north-1/s3/aws4_request, "
               "SignedHeaders=content-type;host;x-amz-content-sha256;x-amz-date, "
               "Signature=ab55a4ce310ebe5759a2646b253a6acce75c2a25bf53972c160fdb1f5bf128f1"),
          Pair("content-type", "application/xml"), Pair("host", "s3.cn-north-1.amazonaws.com.cn"),
          Pair("x-amz-content-sha256",
               "a796e10c88ca92d6d9233ae35732b96dfb1e696ee714daa23c6b4a063c927bc4"),
          Pair("x-amz-date", "20240229T083015Z")));
}

TEST_F(S3CreateBucket, SessionsRegionIsUsedUnlessTheLocationHasAHost) {
  for (int i = 0; i < 3; ++i) enqueue(response(200));
  EXPECT_TRUE(makeClient("", "eu-west-1")->createBucket(bucketAt(kCustomized)).isSuccess());
  EXPECT_TRUE(makeClient("", "eu-west-1")->createBucket(bucketAt(0)).isSuccess());
  EXPECT_TRUE(makeClient("store.test", "mine")->createBucket(bucketAt(1)).isSuccess());
  EXPECT_THAT(regions(), ElementsAre("eu-west-1", "us-east-1", "mine"));
}

TEST_F(S3CreateBucket, RequestWithoutALocationIsSentToTheSessionsEndpoint) {
  Model::CreateBucketRequest request;
  request.bucket = "vemlo-new";
  enqueue(response(200));
  enqueue(response(200));
  const auto client = makeClient("https://s3.eu-west-2.amazonaws.com");
  EXPECT_TRUE(client->createBucket(request).isSuccess());
  request.createBucketConfiguration.markPresent();
  EXPECT_TRUE(client->createBucket(request).isSuccess());
  EXPECT_THAT(addresses(), Each("https://s3.eu-west-2.amazonaws.com/vemlo-new"));
  EXPECT_THAT(regions(), ElementsAre("eu-west-2", "eu-west-2"));
  EXPECT_THAT(requests(), Each(Field(&Http::Request::body, "")));
}

TEST_F(S3CreateBucket, CodesOfNoLocationAreNotSent) {
  for (int code : {-1, 17, 99}) expectInvalidRequest(makeClient("")->createBucket(bucketAt(code)));
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(S3CreateBucket, InvalidNameIsNotSent) {
  for (const char* name : {"", ".", ".."}) {
    expectInvalidRequest(makeClient("")->createBucket(bucketAt(0, name)));
  }
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(S3CreateBucket, UnusableEndpointSendsNothing) {
  expectInvalidRequest(makeClient("ftp://store.test")->createBucket(bucketAt(0)));
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(S3CreateBucket, NameIsAlwaysOneSegment) {
  constexpr char kStore[] = "https://store.test";
  EXPECT_EQ(addressOf("a/b", kStore), "https://store.test/a%2Fb");
  EXPECT_EQ(addressOf("/", kStore), "https://store.test/%2F");
  EXPECT_EQ(addressOf("two words", kStore), "https://store.test/two%20words");
  EXPECT_EQ(addressOf("\xC3\xBC", kStore), "https://store.test/%C3%BC");
  EXPECT_EQ(addressOf("a%2Fb", kStore), "https://store.test/a%252Fb");
  EXPECT_EQ(addressOf("a?b#c&d=e+f", kStore), "https://store.test/a%3Fb%23c%26d%3De%2Bf");
  EXPECT_EQ(addressOf("...", "https://store.test/base"), "https://store.test/base/...");
  EXPECT_EQ(addressOf("Old_Bucket.Name", ""), "https://s3.amazonaws.com/Old_Bucket.Name");
}

TEST_F(S3CreateBucket, EverySuccessStatusIsASuccess) {
  for (int code : {200, 201, 202, 203, 204, 205, 207, 299}) {
    enqueue(response(code));
    EXPECT_TRUE(makeClient("")->createBucket(bucketAt(0)).isSuccess()) << code;
  }
}

TEST_F(S3CreateBucket, OtherBodiesOfASuccessAreIgnored) {
  for (const char* body :
       {"\n", "created", "{}", "<CreateBucketResult/>", "<CreateBucketResponse xmlns='x'/>"}) {
    enqueue(response(200, body));
    EXPECT_TRUE(makeClient("")->createBucket(bucketAt(0)).isSuccess()) << body;
  }
}

TEST_F(S3CreateBucket, LocationOfTheNewBucketIsNoRedirect) {
  enqueue(response(200, "", {{"location", "/vemlo-new"}}));
  enqueue(response(201, "", {{"location", "http://vemlo-new.s3.amazonaws.com/"}}));
  EXPECT_TRUE(makeClient("")->createBucket(bucketAt(0)).isSuccess());
  EXPECT_TRUE(makeClient("")->createBucket(bucketAt(0)).isSuccess());
  EXPECT_THAT(requests(), SizeIs(2));
}

TEST_F(S3CreateBucket, HtmlPageOfAProxyIsNoSuccess) {
  for (const char* body : {"<html><body>Please log in</body></html>",
                           "<!DOCTYPE html><html></html>", "Please log in"}) {
    enqueue(response(200, body, {{"content-type", "text/html"}}));
    const auto outcome = makeClient("")->createBucket(bucketAt(0));
    SCOPED_TRACE(body);
    expectMalformedResponse(outcome);
  }
}

TEST_F(S3CreateBucket, ErrorUnderAStatusOfSuccessIsAFailure) {
  enqueue(response(200, s3Error("InternalError")));
  const auto outcome = makeClient("")->createBucket(bucketAt(0));
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().exceptionName, "InternalError");
  EXPECT_EQ(outcome.getError().errorType, CoreErrors::ServiceFailure);
}

TEST_F(S3CreateBucket, ConflictIsReportedEvenAfterAnAttemptThatMayHaveSucceeded) {
  enqueue(response(503));
  enqueue(response(409, s3Error("BucketAlreadyOwnedByYou")));
  const auto outcome = makeClient("")->createBucket(bucketAt(1));
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().errorType, CoreErrors::BucketAlreadyOwned);
  EXPECT_THAT(requests(), Each(Field(&Http::Request::body, documentFor("us-east-2"))));
}

std::string wrongRegion(const std::string& expected) {
  return s3Error("AuthorizationHeaderMalformed", "<Region>" + expected + "</Region>");
}

TEST_F(S3CreateBucket, RegionIsCorrectedForThisCallIfTheBodyNamesNone) {
  for (int location : {0, kCustomized}) {
    enqueue(response(400, wrongRegion("garage")));
    enqueue(response(200));
    EXPECT_TRUE(makeClient("store.test")->createBucket(bucketAt(location)).isSuccess());
  }
  EXPECT_THAT(regions(), ElementsAre("us-east-1", "garage", "us-east-1", "garage"));
  EXPECT_THAT(addresses(), Each("https://store.test/vemlo-new"));
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(S3CreateBucket, CorrectedRegionAppliesToOneCall) {
  enqueue(response(400, wrongRegion("garage")));
  enqueue(response(200));
  enqueue(response(200));
  const auto client = makeClient("store.test");
  EXPECT_TRUE(client->createBucket(bucketAt(kCustomized)).isSuccess());
  EXPECT_TRUE(client->createBucket(bucketAt(kCustomized)).isSuccess());
  EXPECT_THAT(regions(), ElementsAre("us-east-1", "garage", "us-east-1"));
}

TEST_F(S3CreateBucket, RegionIsNotCorrectedAgainstTheBody) {
  for (int location = 1; location <= 15; ++location) {
    for (const char* endpoint : {"", "store.test"}) {
      enqueue(response(400, wrongRegion("garage")));
      const auto outcome = makeClient(endpoint)->createBucket(bucketAt(location));
      ASSERT_FALSE(outcome.isSuccess());
      EXPECT_EQ(outcome.getError().errorType, CoreErrors::WrongRegion);
    }
  }
  EXPECT_THAT(requests(), SizeIs(30));
}

TEST_F(S3CreateBucket, ClockIsCorrectedAndTheBodyKept) {
  enqueue(response(
      403, s3Error("RequestTimeTooSkewed", "<ServerTime>2024-02-29T09:00:00Z</ServerTime>")));
  enqueue(response(200));
  EXPECT_TRUE(makeClient("")->createBucket(bucketAt(12)).isSuccess());
  EXPECT_THAT(times(), ElementsAre("20240229T083015Z", "20240229T090000Z"));
  EXPECT_THAT(requests(), Each(Field(&Http::Request::body, documentFor("eu-central-1"))));
}

TEST_F(S3CreateBucket, RedirectKeepsMethodBodyTypeAndRegion) {
  enqueue(response(307, s3Error("TemporaryRedirect"),
                   {{"location", "https://s3-2.eu-central-1.amazonaws.com/vemlo-new?rk=1"}}));
  enqueue(response(200));
  EXPECT_TRUE(makeClient("")->createBucket(bucketAt(12)).isSuccess());
  EXPECT_THAT(addresses(), ElementsAre("https://s3.eu-central-1.amazonaws.com/vemlo-new",
                                       "https://s3-2.eu-central-1.amazonaws.com/vemlo-new?rk=1"));
  EXPECT_THAT(regions(), ElementsAre("eu-central-1", "eu-central-1"));
  for (const auto& request : requests()) {
    EXPECT_EQ(request.method, Http::Method::Put);
    EXPECT_EQ(request.body, documentFor("eu-central-1"));
    EXPECT_EQ(request.headers.at("content-type"), "application/xml");
    EXPECT_EQ(request.headers.at("host"), request.uri.host());
  }
}

}  // namespace
