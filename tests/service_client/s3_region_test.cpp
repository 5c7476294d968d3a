#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>

#include "Auth/AWSV4Signer.h"
#include "CloudStorage/Client/S3/S3Client.h"
#include "support/s3_fixture.h"

namespace {

namespace Http = CloudStorage::Http;
namespace Model = CloudStorage::Client::S3::Model;
using CloudStorage::Client::Error;
using CloudStorage::Client::S3::S3Client;
using CloudStorage::Util::Outcome;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using TestSupport::response;
using TestSupport::s3Error;

constexpr char kEmptyPage[] = "<ListBucketResult/>";
constexpr char kInUsEast[] = "https://vemlo-data.s3.amazonaws.com/?list-type=2";
constexpr char kInEuCentral[] = "https://vemlo-data.s3.eu-central-1.amazonaws.com/?list-type=2";
constexpr char kInEuWest[] = "https://vemlo-data.s3.eu-west-1.amazonaws.com/?list-type=2";
constexpr char kStore[] = "https://store.example.test:9000";

Http::HeaderValueCollection bucketIn(const std::string& region) {
  return {{"x-amz-bucket-region", region}};
}

std::string regionElement(const std::string& region) { return "<Region>" + region + "</Region>"; }

Http::Response movedTo(const std::string& region) {
  return response(301, s3Error("PermanentRedirect"), bucketIn(region));
}

bool list(const S3Client& client, const std::string& bucket = "vemlo-data") {
  Model::ListObjectsV2Request request;
  request.bucket = bucket;
  return client.listObjectsV2(request).isSuccess();
}

Outcome<Model::PutObjectResult, Error> put(const S3Client& client, const std::string& bucket,
                                           const std::string& key) {
  Model::PutObjectRequest request;
  request.bucket = bucket;
  request.contentLength = 0;
  request.key = key;
  return client.putObject(request);
}

class S3BucketTest : public ::testing::Test, protected TestSupport::S3Fixture {
 protected:
  // Whether the request at `index` carries the signature that belongs to it.
  bool isSignedFor(std::size_t index, const std::string& region) {
    Http::Request request = requests().at(index);
    const std::string sent = request.headers.at("authorization");
    request.headers = {};
    CloudStorage::Auth::AWSV4Signer signer(std::make_shared<CloudStorage::Auth::AWSAuthCredential>(
        "AKIDVEMLOTEST0000001", "vemloTestSecretKey/0123456789+abcdefABCD", "s3", "us-east-1"));
    signer.sign(request, region, now());
    return request.headers.at("authorization") == sent;
  }
};

/// A response that states the region of a bucket.
struct Hint {
  const char* name;
  int status;
  std::string body;
  Http::HeaderValueCollection headers;
};

void PrintTo(const Hint& hint, std::ostream* out) { *out << hint.name; }

const Hint kHints[] = {
    {"MovedWithHeader", 301, s3Error("PermanentRedirect"), bucketIn("eu-central-1")},
    {"MovedWithElement", 301, s3Error("PermanentRedirect", regionElement("eu-central-1")), {}},
    {"MovedWithoutABody", 301, "", bucketIn("eu-central-1")},
    {"HeaderBeforeElement", 301, s3Error("PermanentRedirect", regionElement("eu-west-1")),
     bucketIn("eu-central-1")},
    {"MalformedWithElement",
     400,
     s3Error("AuthorizationHeaderMalformed", regionElement("eu-central-1")),
     {}},
    {"MalformedWithHeader", 400, s3Error("AuthorizationHeaderMalformed"), bucketIn("eu-central-1")},
    {"OptInRegion", 400, s3Error("IllegalLocationConstraintException"), bucketIn("eu-central-1")},
    {"OtherBadRequest", 400, "", bucketIn("eu-central-1")},
    {"TemporaryWithHeader",
     307,
     s3Error("TemporaryRedirect"),
     {{"location", "https://vemlo-data.s3-2.amazonaws.com/"},
      {"x-amz-bucket-region", "eu-central-1"}}},
    {"FoundWithHeader",
     302,
     s3Error("Found"),
     {{"location", "https://vemlo-data.s3-2.amazonaws.com/"},
      {"x-amz-bucket-region", "eu-central-1"}}},
};

class S3RegionHint : public S3BucketTest, public ::testing::WithParamInterface<Hint> {};

TEST_P(S3RegionHint, ListingIsSentAgainToTheBucketsRegion) {
  enqueue(response(GetParam().status, GetParam().body, GetParam().headers));
  enqueue(response(200, kEmptyPage));
  EXPECT_TRUE(list(*makeClient("")));
  EXPECT_THAT(addresses(), ElementsAre(kInUsEast, kInEuCentral));
  EXPECT_THAT(regions(), ElementsAre("us-east-1", "eu-central-1"));
  EXPECT_TRUE(isSignedFor(1, "eu-central-1"));
  EXPECT_THAT(delays(), IsEmpty());
  EXPECT_THAT(strategy->calls(), IsEmpty());
}

TEST_P(S3RegionHint, OtherStoresAreOnlySignedForItAnew) {
  enqueue(response(GetParam().status, GetParam().body, GetParam().headers));
  enqueue(response(200));
  EXPECT_TRUE(put(*makeClient(kStore), "vemlo-data", "a b/").isSuccess());
  EXPECT_THAT(addresses(), SizeIs(2));
  EXPECT_THAT(addresses(), Each("https://store.example.test:9000/vemlo-data/a%20b/"));
  EXPECT_THAT(regions(), ElementsAre("us-east-1", "eu-central-1"));
  EXPECT_EQ(requests().at(1).method, Http::Method::Put);
}

INSTANTIATE_TEST_SUITE_P(Responses, S3RegionHint, ::testing::ValuesIn(kHints),
                         [](const auto& test) { return std::string(test.param.name); });

using S3BucketRegion = S3BucketTest;

TEST_F(S3BucketRegion, IsRequestedIfTheResponseDoesNotStateIt) {
  enqueue(response(301, s3Error("PermanentRedirect", "<Endpoint>elsewhere.test</Endpoint>")));
  enqueue(response(403, "", bucketIn("eu-central-1")));
  enqueue(response(200));
  EXPECT_TRUE(put(*makeClient(""), "vemlo-data", "photos/").isSuccess());
  EXPECT_THAT(addresses(), ElementsAre("https://vemlo-data.s3.amazonaws.com/photos/",
                                       "https://vemlo-data.s3.amazonaws.com/",
                                       "https://vemlo-data.s3.eu-central-1.amazonaws.com/photos/"));
  const auto question = requests().at(1);
  EXPECT_EQ(question.method, Http::Method::Head);
  EXPECT_TRUE(isSignedFor(1, "us-east-1"));
  EXPECT_THAT(strategy->calls(), IsEmpty());
}

TEST_F(S3BucketRegion, IsUnknownIfNobodyNamesIt) {
  enqueue(response(301, s3Error("PermanentRedirect")));
  enqueue(response(301));
  EXPECT_FALSE(list(*makeClient("")));
  EXPECT_THAT(addresses(), ElementsAre(kInUsEast, "https://vemlo-data.s3.amazonaws.com/"));
  EXPECT_THAT(strategy->calls(), ElementsAre(Pair(301, 0)));
}

TEST_F(S3BucketRegion, IsRememberedForThatBucketAlone) {
  enqueue(movedTo("eu-central-1"));
  for (int i = 0; i < 4; ++i) enqueue(response(200, kEmptyPage));
  const auto client = makeClient("");
  EXPECT_TRUE(list(*client));
  EXPECT_TRUE(list(*client));
  EXPECT_TRUE(list(*client, "another"));
  EXPECT_TRUE(list(*client));
  EXPECT_THAT(addresses(),
              ElementsAre(kInUsEast, kInEuCentral, kInEuCentral,
                          "https://another.s3.amazonaws.com/?list-type=2", kInEuCentral));
  EXPECT_THAT(regions(), ElementsAre("us-east-1", "eu-central-1", "eu-central-1", "us-east-1",
                                     "eu-central-1"));
}

TEST_F(S3BucketRegion, LearnedFromAListingServesAFolder) {
  enqueue(movedTo("eu-central-1"));
  enqueue(response(200, kEmptyPage));
  enqueue(response(200));
  const auto client = makeClient("");
  EXPECT_TRUE(list(*client));
  EXPECT_TRUE(put(*client, "vemlo-data", "a/").isSuccess());
  EXPECT_EQ(addresses().back(), "https://vemlo-data.s3.eu-central-1.amazonaws.com/a/");
  EXPECT_THAT(addresses(), SizeIs(3));
}

TEST_F(S3BucketRegion, OfABucketMadeAnewElsewhereReplacesTheOldOne) {
  enqueue(movedTo("eu-central-1"));
  enqueue(response(200, kEmptyPage));
  enqueue(movedTo("eu-west-1"));
  enqueue(response(200, kEmptyPage));
  enqueue(movedTo("us-east-1"));
  enqueue(response(200, kEmptyPage));
  enqueue(response(200, kEmptyPage));
  const auto client = makeClient("");
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(list(*client));
  EXPECT_THAT(addresses(), ElementsAre(kInUsEast, kInEuCentral, kInEuCentral, kInEuWest, kInEuWest,
                                       kInUsEast, kInUsEast));
}

TEST_F(S3BucketRegion, IsCorrectedOnceACall) {
  enqueue(movedTo("eu-central-1"));
  enqueue(response(503));
  enqueue(movedTo("eu-west-1"));
  EXPECT_FALSE(list(*makeClient("")));
  EXPECT_THAT(addresses(), ElementsAre(kInUsEast, kInEuCentral, kInEuCentral));
  EXPECT_THAT(strategy->calls(), ElementsAre(Pair(503, 0), Pair(301, 1)));
}

constexpr const char* kUselessRegions[] = {"",      "us-east-1", "EU",        "eu_west",
                                           "a/b",   "evil.test", "eu west-1", "a:80",
                                           "@evil", "eu-west-1#"};

TEST_F(S3BucketRegion, TextThatIsNoOtherRegionIsRefused) {
  for (const char* region : kUselessRegions) {
    enqueue(movedTo(region));
    enqueue(response(200, "", bucketIn(region)));
    EXPECT_FALSE(list(*makeClient(""))) << region;
    enqueue(response(400, s3Error("AuthorizationHeaderMalformed", regionElement(region))));
    enqueue(response(200, "", bucketIn(region)));
    EXPECT_FALSE(list(*makeClient(""))) << region;
  }
  EXPECT_THAT(addresses(), SizeIs(40));
  EXPECT_THAT(regions(), Each("us-east-1"));
}

TEST_F(S3BucketRegion, UselessHeaderIsFollowedByTheElement) {
  for (const char* region : kUselessRegions) {
    enqueue(response(301, s3Error("PermanentRedirect", regionElement("eu-central-1")),
                     bucketIn(region)));
    enqueue(response(200, kEmptyPage));
    EXPECT_TRUE(list(*makeClient(""))) << region;
    EXPECT_EQ(addresses().back(), kInEuCentral);
  }
  EXPECT_THAT(requests(), SizeIs(20));
}

TEST_F(S3BucketRegion, UselessHeaderAndElementAreFollowedByARequest) {
  for (const char* region : kUselessRegions) {
    enqueue(response(400, s3Error("AuthorizationHeaderMalformed", regionElement(region)),
                     bucketIn(region)));
    enqueue(response(200, "", bucketIn("eu-central-1")));
    enqueue(response(200, kEmptyPage));
    EXPECT_TRUE(list(*makeClient(""))) << region;
    EXPECT_EQ(addresses().back(), kInEuCentral);
  }
  EXPECT_THAT(requests(), SizeIs(30));
}

TEST_F(S3BucketRegion, IsRequestedOnceACall) {
  const auto redirect = response(307, s3Error("TemporaryRedirect"),
                                 {{"location", "https://vemlo-data.s3.amazonaws.com/?list-type=2"},
                                  {"x-amz-bucket-region", "EU"}});
  enqueue(redirect);
  enqueue(response(403));  // to the request for the region
  enqueue(redirect);
  enqueue(redirect);
  enqueue(response(200, kEmptyPage));
  EXPECT_TRUE(list(*makeClient("")));
  EXPECT_THAT(lines(), ElementsAre(std::string("GET ") + kInUsEast,
                                   "HEAD https://vemlo-data.s3.amazonaws.com/",
                                   std::string("GET ") + kInUsEast, std::string("GET ") + kInUsEast,
                                   std::string("GET ") + kInUsEast));
}

TEST_F(S3BucketRegion, IsNoMatterOfOtherFailures) {
  for (const int status : {403, 404, 409}) {
    enqueue(response(status, s3Error("AccessDenied", regionElement("eu-west-1")),
                     bucketIn("eu-west-1")));
    EXPECT_FALSE(list(*makeClient("")));
  }
  enqueue(response(400, s3Error("InvalidArgument", regionElement("eu-west-1"))));
  EXPECT_FALSE(list(*makeClient("")));
  EXPECT_THAT(regions(), ElementsAre("us-east-1", "us-east-1", "us-east-1", "us-east-1"));
}

TEST_F(S3BucketRegion, OfAPathStyleBucketChangesTheHost) {
  enqueue(movedTo("eu-central-1"));
  enqueue(response(200, kEmptyPage));
  EXPECT_TRUE(list(*makeClient(""), "vemlo.data"));
  EXPECT_THAT(addresses(),
              ElementsAre("https://s3.amazonaws.com/vemlo.data?list-type=2",
                          "https://s3.eu-central-1.amazonaws.com/vemlo.data?list-type=2"));
}

TEST_F(S3BucketRegion, StaysInChina) {
  enqueue(movedTo("cn-northwest-1"));
  enqueue(response(200, kEmptyPage));
  EXPECT_TRUE(list(*makeClient("s3.cn-north-1.amazonaws.com.cn")));
  EXPECT_THAT(addresses(),
              ElementsAre("https://vemlo-data.s3.cn-north-1.amazonaws.com.cn/?list-type=2",
                          "https://vemlo-data.s3.cn-northwest-1.amazonaws.com.cn/?list-type=2"));
}

TEST_F(S3BucketRegion, IsCorrectedWithTheClockInOneAttempt) {
  enqueue(movedTo("eu-central-1"));
  enqueue(response(
      403, s3Error("RequestTimeTooSkewed", "<ServerTime>2024-02-29T09:00:00Z</ServerTime>")));
  enqueue(response(200, kEmptyPage));
  EXPECT_TRUE(list(*makeClient("")));
  EXPECT_THAT(regions(), ElementsAre("us-east-1", "eu-central-1", "eu-central-1"));
  EXPECT_EQ(times().back(), "20240229T090000Z");
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(S3BucketRegion, HintDoesNotMoveANewBucketAgainstItsLocation) {
  Model::CreateBucketConfiguration configuration;
  configuration.locationConstraint = Model::BucketLocationConstraint::EuCentral1;
  Model::CreateBucketRequest request;
  request.bucket = "vemlo-data";
  request.createBucketConfiguration = configuration;
  for (const auto& response :
       {movedTo("eu-west-1"),
        response(400, s3Error("IllegalLocationConstraintException"), bucketIn("eu-west-1")),
        response(400, s3Error("AuthorizationHeaderMalformed", regionElement("eu-west-1")),
                 bucketIn("eu-west-1"))}) {
    enqueue(response);
    EXPECT_FALSE(makeClient("")->createBucket(request).isSuccess());
  }
  EXPECT_THAT(addresses(), SizeIs(3));
  EXPECT_THAT(addresses(), Each("https://s3.eu-central-1.amazonaws.com/vemlo-data"));
  EXPECT_THAT(regions(), Each("eu-central-1"));
}

using S3RedirectedBucket = S3BucketTest;

TEST_F(S3RedirectedBucket, CallKeepsMethodAndIsSignedForTheNewHost) {
  enqueue(response(307, s3Error("TemporaryRedirect"),
                   {{"location", "http://vemlo-data.s3-2.amazonaws.com/a%20b/?rk=x%2fy"}}));
  enqueue(response(200));
  EXPECT_TRUE(put(*makeClient(""), "vemlo-data", "a b/").isSuccess());
  EXPECT_THAT(addresses(), ElementsAre("https://vemlo-data.s3.amazonaws.com/a%20b/",
                                       "https://vemlo-data.s3-2.amazonaws.com/a%20b/?rk=x%2fy"));
  const auto again = requests().at(1);
  EXPECT_EQ(again.method, Http::Method::Put);
  EXPECT_EQ(again.body, "");
  EXPECT_EQ(again.headers.at("host"), "vemlo-data.s3-2.amazonaws.com");
  EXPECT_TRUE(isSignedFor(1, "us-east-1"));
  EXPECT_THAT(delays(), ElementsAre(1000));
}

TEST_F(S3RedirectedBucket, BodyGoesAlong) {
  enqueue(response(307, "", {{"location", "https://vemlo-data.s3-2.amazonaws.com/a"}}));
  enqueue(response(200));
  Model::PutObjectRequest request;
  request.bucket = "vemlo-data";
  request.key = "a";
  request.body = std::make_shared<std::stringstream>("the body");
  EXPECT_TRUE(makeClient("")->putObject(request).isSuccess());
  ASSERT_THAT(requests(), SizeIs(2));
  EXPECT_EQ(requests().at(1).body, "the body");
}

TEST_F(S3RedirectedBucket, ForeignHostGetsNothing) {
  for (const char* location :
       {"https://evil.test/", "https://vemlo-data.s3.amazonaws.com.evil.test/",
        "https://evilamazonaws.com/", "//evil.test/", "https://s3.cn-north-1.amazonaws.com.cn/"}) {
    enqueue(response(307, s3Error("TemporaryRedirect"), {{"location", location}}));
    EXPECT_FALSE(list(*makeClient(""))) << location;
  }
  EXPECT_THAT(addresses(), SizeIs(5));
  EXPECT_THAT(addresses(), Each(kInUsEast));
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(S3RedirectedBucket, NextCallGoesWhereTheBucketBelongs) {
  enqueue(response(307, "", {{"location", "https://vemlo-data.s3-2.amazonaws.com/?list-type=2"}}));
  enqueue(response(200, kEmptyPage));
  enqueue(response(200, kEmptyPage));
  const auto client = makeClient("");
  EXPECT_TRUE(list(*client));
  EXPECT_TRUE(list(*client));
  EXPECT_THAT(
      addresses(),
      ElementsAre(kInUsEast, "https://vemlo-data.s3-2.amazonaws.com/?list-type=2", kInUsEast));
}

// The redirect has changed the style of the address: under the region's own host its path would
// name a bucket, and one would be made.
TEST_F(S3RedirectedBucket, RegionIsThenCorrectedAtThatHost) {
  enqueue(response(307, "", {{"location", "https://vemlo.data.s3-2.amazonaws.com/photos/"}}));
  enqueue(response(400, s3Error("AuthorizationHeaderMalformed", regionElement("eu-west-1"))));
  enqueue(response(200));
  enqueue(response(200));
  const auto client = makeClient("");
  EXPECT_TRUE(put(*client, "vemlo.data", "photos/").isSuccess());
  EXPECT_TRUE(put(*client, "vemlo.data", "photos/").isSuccess());
  EXPECT_THAT(addresses(), ElementsAre("https://s3.amazonaws.com/vemlo.data/photos/",
                                       "https://vemlo.data.s3-2.amazonaws.com/photos/",
                                       "https://vemlo.data.s3-2.amazonaws.com/photos/",
                                       "https://s3.eu-west-1.amazonaws.com/vemlo.data/photos/"));
  EXPECT_THAT(regions(), ElementsAre("us-east-1", "us-east-1", "eu-west-1", "eu-west-1"));
}

}  // namespace
