#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "CloudStorage/Client/S3/S3Client.h"
#include "support/expectations.h"
#include "support/s3_fixture.h"

namespace {

namespace Http = CloudStorage::Http;
namespace Model = CloudStorage::Client::S3::Model;
using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Util::Outcome;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using TestSupport::expectInvalidRequest;
using TestSupport::expectMalformedResponse;
using TestSupport::response;
using TestSupport::s3Error;

constexpr char kStore[] = "https://store.example.test:9000";
constexpr char kEmptyHash[] = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

Model::PutObjectRequest folder(const std::string& bucket, const std::string& key) {
  Model::PutObjectRequest request;
  request.bucket = bucket;
  request.contentLength = 0;
  request.key = key;
  return request;
}

class S3PutObject : public ::testing::Test, protected TestSupport::S3Fixture {
 protected:
  Outcome<Model::PutObjectResult, Error> put(const std::string& bucket, const std::string& key,
                                             const std::string& endpoint = kStore) {
    return makeClient(endpoint)->putObject(folder(bucket, key));
  }

  // The address that an object of this key is put to.
  std::string addressOf(const std::string& key, const std::string& endpoint = kStore) {
    enqueue(response(200));
    EXPECT_TRUE(put("vemlo-data", key, endpoint).isSuccess()) << key;
    return addresses().back();
  }
};

TEST_F(S3PutObject, RequestIsExactlyThis) {
  EXPECT_EQ(addressOf("photos/a b+c=(1)~/"),
            "https://store.example.test:9000/vemlo-data/photos/a%20b%2Bc%3D%281%29~/");
  const auto request = requests().at(0);
  EXPECT_EQ(request.method, Http::Method::Put);
  EXPECT_EQ(request.body, "");
  EXPECT_THAT(
      request.headers,
      ElementsAre(
          Pair("authorization",
               "AWS4-HMAC-SHA256 "
               "Credential=AKIDVEMLOTEST0000001/20240229/us-east-1/s3/aws4_request, "
               "SignedHeaders=host;x-amz-content-sha256;x-amz-date, "
               "Signature=2d99d660d1acfdc2b86ba4de7f218db88d1a5f9975dc63f2199848cebf7edcbc"),
          Pair("host", "store.example.test:9000"), Pair("x-amz-content-sha256", kEmptyHash),
          Pair("x-amz-date", "20240229T083015Z")));
}

TEST_F(S3PutObject, BucketOfAwsHasItsOwnHost) {
  EXPECT_EQ(addressOf("photos/2020/", ""), "https://vemlo-data.s3.amazonaws.com/photos/2020/");
  EXPECT_EQ(addressOf("a/", "s3.eu-central-1.amazonaws.com"),
            "https://vemlo-data.s3.eu-central-1.amazonaws.com/a/");
}

TEST_F(S3PutObject, NothingOfTheKeyIsNormalised) {
  for (const auto& [endpoint, root] :
       {std::pair<std::string, std::string>(kStore, std::string(kStore) + "/vemlo-data"),
        std::pair<std::string, std::string>("", "https://vemlo-data.s3.amazonaws.com"),
        std::pair<std::string, std::string>("http://store.test/base/",
                                            "http://store.test/base/vemlo-data")}) {
    EXPECT_EQ(addressOf("a", endpoint), root + "/a");
    EXPECT_EQ(addressOf("a/", endpoint), root + "/a/");
    EXPECT_EQ(addressOf("a//b//", endpoint), root + "/a//b//");
    EXPECT_EQ(addressOf("/a/", endpoint), root + "//a/");
    EXPECT_EQ(addressOf("/", endpoint), root + "//");
    EXPECT_EQ(addressOf("a/./b/../c/", endpoint), root + "/a/./b/../c/");
    EXPECT_EQ(addressOf(".", endpoint), root + "/.");
    EXPECT_EQ(addressOf("../", endpoint), root + "/../");
  }
}

TEST_F(S3PutObject, KeyIsSentByteForByte) {
  const std::string bucket = std::string(kStore) + "/vemlo-data/";
  EXPECT_EQ(addressOf("\xC3\xA9/"), bucket + "%C3%A9/");
  EXPECT_EQ(addressOf("e\xCC\x81/"), bucket + "e%CC%81/") << "not composed";
  EXPECT_EQ(addressOf(" x /"), bucket + "%20x%20/");
  EXPECT_EQ(addressOf("%41?x=1&y#z"), bucket + "%2541%3Fx%3D1%26y%23z");
  EXPECT_EQ(addressOf("\x01\x1b\n"), bucket + "%01%1B%0A");
  EXPECT_EQ(addressOf("-_.~!$'()*,;:@"), bucket + "-_.~%21%24%27%28%29%2A%2C%3B%3A%40");
}

TEST_F(S3PutObject, BodyIsSentAndHashed) {
  enqueue(response(200));
  auto request = folder("vemlo-data", "a");
  request.body = std::make_shared<std::stringstream>("abc");
  request.contentType = "text/plain";
  EXPECT_TRUE(makeClient(kStore)->putObject(request).isSuccess());
  const auto sent = requests().at(0);
  EXPECT_EQ(sent.body, "abc");
  EXPECT_EQ(sent.headers.at("content-type"), "text/plain");
  EXPECT_EQ(sent.headers.at("x-amz-content-sha256"),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST_F(S3PutObject, InvalidBucketOrKeyIsNotSent) {
  for (const char* bucket : {"", ".", ".."}) {
    const auto outcome = put(bucket, "a/");
    SCOPED_TRACE(bucket);
    expectInvalidRequest(outcome);
  }
  const auto outcome = put("vemlo-data", "");
  expectInvalidRequest(outcome);
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(S3PutObject, UnusableEndpointSendsNothing) {
  EXPECT_FALSE(put("vemlo-data", "a/", "ftp://store.test").isSuccess());
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(S3PutObject, EverySuccessStatusIsASuccess) {
  for (const int status : {200, 201, 202, 203, 204, 205, 207, 299}) {
    enqueue(response(status, "", {{"etag", "\"d41d8cd98f00b204e9800998ecf8427e\""}}));
    EXPECT_TRUE(put("vemlo-data", "a/").isSuccess()) << status;
  }
}

TEST_F(S3PutObject, PartialContentIsNoSuccess) {
  enqueue(response(206));
  const auto outcome = put("vemlo-data", "a/");
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().errorType, CoreErrors::LocalFailure);
  EXPECT_EQ(outcome.getError().exceptionName, "MalformedResponse");
  EXPECT_EQ(outcome.getError().httpResponseCode, 206);
}

TEST_F(S3PutObject, BodyOfASuccessDoesNotMatter) {
  for (const char* body : {"OK", R"({"etag":"d41d"})", "<PutObjectResult/>", "\n"}) {
    enqueue(response(200, body));
    EXPECT_TRUE(put("vemlo-data", "a/").isSuccess()) << body;
  }
}

TEST_F(S3PutObject, HtmlPageOfAProxyIsNoSuccess) {
  for (const char* body : {"<html><body>Please log in</body></html>", "Please log in"}) {
    SCOPED_TRACE(body);
    enqueue(response(200, body, {{"content-type", "text/html"}}));
    expectMalformedResponse(put("vemlo-data", "a/"));
  }
  for (const char* body : {"<html><body>Please log in</body></html>",
                           "<!DOCTYPE html><html></html>", "<html><br></html>"}) {
    SCOPED_TRACE(body);
    enqueue(response(200, body));
    expectMalformedResponse(put("vemlo-data", "a/"));
  }
  EXPECT_THAT(requests(), SizeIs(5));
}

TEST_F(S3PutObject, EmptyBodyMayHaveAnyContentType) {
  enqueue(response(200, "", {{"content-type", "text/html; charset=UTF-8"}}));
  EXPECT_TRUE(put("vemlo-data", "a/").isSuccess());
}

TEST_F(S3PutObject, ErrorWithoutACodeIsAFailure) {
  for (const char* body :
       {"<Error/>", "<Error><Message>of no code</Message></Error>", "<Error><Code>Cut"}) {
    SCOPED_TRACE(body);
    enqueue(response(200, body));
    expectMalformedResponse(put("vemlo-data", "a/"));
  }
}

TEST_F(S3PutObject, ErrorUnderAStatusOfSuccessIsAFailure) {
  enqueue(response(200, s3Error("InternalError")));
  const auto outcome = put("vemlo-data", "a/");
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().exceptionName, "InternalError");
}

TEST_F(S3PutObject, ServiceFailureIsRetriedAndRefusalIsFinal) {
  enqueue(response(503, s3Error("SlowDown")));
  enqueue(response(404, s3Error("NoSuchBucket")));
  const auto outcome = put("vemlo-data", "a/");
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().errorType, CoreErrors::BucketNotFound);
  EXPECT_THAT(times(), ElementsAre("20240229T083015Z", "20240229T083016Z"));
  EXPECT_THAT(strategy->calls(), ElementsAre(Pair(503, 0), Pair(404, 1)));
}

}  // namespace
