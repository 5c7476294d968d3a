#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/expectations.h"
#include "support/s3_fixture.h"

/// Listings with odd, repeated, missing or far too many parts.
namespace {

namespace Model = CloudStorage::Client::S3::Model;
using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Util::Outcome;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::expectMalformedResponse;
using TestSupport::response;

constexpr char kEncoding[] = "<EncodingType>url</EncodingType>";

std::string repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

std::string inBuckets(const std::string& entries) {
  return "<ListAllMyBucketsResult><Buckets>" + entries + "</Buckets></ListAllMyBucketsResult>";
}

std::string inObjects(const std::string& entries) {
  return "<ListBucketResult>" + entries + "</ListBucketResult>";
}

std::string prefix(const std::string& name) {
  return "<CommonPrefixes><Prefix>" + name + "</Prefix></CommonPrefixes>";
}

class S3OddListing : public ::testing::Test, protected TestSupport::S3Fixture {
 protected:
  Outcome<Model::ListBucketsResult, Error> buckets(const std::string& body, int status = 200) {
    enqueue(response(status, body, {{"content-type", "application/xml"}}));
    return makeClient("https://store.test")->listBuckets();
  }

  Outcome<Model::ListObjectsV2Result, Error> objects(const std::string& body, int status = 200) {
    enqueue(response(status, body, {{"content-type", "application/xml"}}));
    request.bucket = "vemlo-data";
    return makeClient("https://store.test")->listObjectsV2(request);
  }

  std::vector<std::string> bucketsIn(const std::string& body) {
    std::vector<std::string> names;
    for (const auto& bucket : buckets(body).getResult().buckets) names.emplace_back(bucket.name);
    return names;
  }
  std::vector<std::string> prefixesIn(const std::string& body) {
    const auto outcome = objects(body);
    return {outcome.getResult().commonPrefixes.begin(), outcome.getResult().commonPrefixes.end()};
  }

  Model::ListObjectsV2Request request;
};

using S3OddEntry = S3OddListing;

TEST_F(S3OddEntry, ReferenceToNoCharacterReadsAsTheReplacementCharacter) {
  for (const char* reference : {"&#0;", "&#x0;", "&#xD800;", "&#57343;", "&#x110000;"}) {
    const std::string name = std::string("a") + reference + "b/";
    EXPECT_THAT(bucketsIn(inBuckets("<Bucket><Name>" + name +
                                    "</Name></Bucket><Bucket><Name>next</Name></Bucket>")),
                ElementsAre("a\uFFFDb/", "next"))
        << reference;
    EXPECT_THAT(prefixesIn(inObjects(prefix(name) + prefix("next/"))),
                ElementsAre("a\uFFFDb/", "next/"))
        << reference;
  }
  EXPECT_THAT(requests(), SizeIs(10)) << "none is repeated with encoded keys";
}

TEST_F(S3OddEntry, ReferenceInACommentOrCharacterDataIsNone) {
  EXPECT_THAT(prefixesIn(inObjects(prefix("a<!-- &#0; -->b/") + prefix("<![CDATA[&#0;]]>/"))),
              ElementsAre("ab/", "&#0;/"));
  EXPECT_THAT(requests(), SizeIs(1));
}

TEST_F(S3OddEntry, EncodedNulAndInvalidUtf8ReadAsTheReplacementCharacter) {
  EXPECT_THAT(
      prefixesIn(inObjects(prefix("%00a+/") + prefix("%FF%c3%A9%C3/") + prefix("ok/") + kEncoding)),
      ElementsAre("\uFFFDa /", "\uFFFD\u00E9\uFFFD/", "ok/"));
  const auto outcome =
      objects(inObjects("<Contents><Key>a%00</Key></Contents>" + std::string(kEncoding)));
  EXPECT_EQ(outcome.getResult().objects.at(0).key, "a\uFFFD");
  EXPECT_THAT(requests(), SizeIs(2));
}

TEST_F(S3OddEntry, WithoutANameIsLeftOut) {
  EXPECT_THAT(bucketsIn(inBuckets("<Bucket/><Bucket><Name></Name></Bucket><Bucket><Name>a</Name>"
                                  "</Bucket><Bucket><CreationDate>d</CreationDate></Bucket>")),
              ElementsAre("a"));
  EXPECT_THAT(
      prefixesIn(inObjects("<CommonPrefixes/>" + prefix("") + prefix("a/") +
                           "<CommonPrefixes><Prefix/><Prefix>b/</Prefix></CommonPrefixes>")),
      ElementsAre("a/", "b/"));
}

TEST_F(S3OddListing, LastOfTwoListsOfBucketsCounts) {
  EXPECT_THAT(bucketsIn("<ListAllMyBucketsResult><Buckets><Bucket><Name>old</Name></Bucket>"
                        "</Buckets><Owner/><Buckets><Bucket><Name>new</Name></Bucket></Buckets>"
                        "</ListAllMyBucketsResult>"),
              ElementsAre("new"));
}

TEST_F(S3OddListing, OnlyStatus200IsAListing) {
  for (const int status : {201, 202, 203, 204, 206}) {
    const std::string noBody;
    for (const Error& error :
         {buckets(status == 204 ? noBody : inBuckets(""), status).getError(),
          objects(status == 204 ? noBody : inObjects(""), status).getError()}) {
      EXPECT_EQ(error.errorType, CoreErrors::LocalFailure) << status;
      EXPECT_EQ(error.exceptionName, "MalformedResponse") << status;
      EXPECT_EQ(error.message, "The answer has the status " + std::to_string(status));
      EXPECT_EQ(error.httpResponseCode, status);
    }
  }
  EXPECT_THAT(requests(), SizeIs(10));
}

TEST_F(S3OddListing, HtmlContentTypeIsNoListing) {
  for (int i = 0; i < 2; ++i) {
    enqueue(response(200, i == 0 ? inBuckets("") : inObjects(""), {{"content-type", "Text/HTML"}}));
  }
  const auto client = makeClient("https://store.test");
  expectMalformedResponse(client->listBuckets());
  request.bucket = "vemlo-data";
  expectMalformedResponse(client->listObjectsV2(request));
}

using S3TooManyEntries = S3OddListing;

void expectTooLarge(const Error& error) {
  EXPECT_EQ(error.errorType, CoreErrors::LocalFailure);
  EXPECT_EQ(error.exceptionName, "ResponseTooLarge");
  EXPECT_EQ(error.httpResponseCode, 200);
}

TEST_F(S3TooManyEntries, AreMoreThanAHundredThousandBuckets) {
  const std::string bucket = "<Bucket><Name>b</Name></Bucket>";
  EXPECT_THAT(bucketsIn(inBuckets(repeated(bucket, 100'000))), SizeIs(100'000));
  expectTooLarge(buckets(inBuckets(repeated(bucket, 100'001))).getError());
  expectTooLarge(buckets(inBuckets(repeated("<Bucket/>", 100'001))).getError());
}

TEST_F(S3TooManyEntries, AreObjectsAndPrefixesTogether) {
  const std::string object = "<Contents><Key>k</Key></Contents>";
  EXPECT_THAT(prefixesIn(inObjects(repeated(object, 50'000) + repeated(prefix("p/"), 50'000))),
              SizeIs(50'000));
  const std::string bodies[] = {
      repeated(object, 50'000) + repeated(prefix("p/"), 50'001), repeated(object, 100'001),
      repeated(prefix(""), 100'001), repeated("<CommonPrefixes/>", 100'001),
      "<CommonPrefixes>" + repeated("<Prefix>p/</Prefix>", 100'001) + "</CommonPrefixes>"};
  for (const std::string& body : bodies) expectTooLarge(objects(inObjects(body)).getError());
  EXPECT_THAT(requests(), SizeIs(6)) << "none is repeated with encoded keys";
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(S3TooManyEntries, AreMoreThanTenTimesTheRequestedNumber) {
  request.maxKeys = 2;
  EXPECT_THAT(prefixesIn(inObjects(repeated(prefix("p/"), 20))), SizeIs(20));
  expectTooLarge(objects(inObjects(repeated(prefix("p/"), 21))).getError());
}

TEST_F(S3TooManyEntries, AreNotEvenRead) {
  expectTooLarge(objects(inObjects(repeated("<a/>", 2'000'000))).getError());
  EXPECT_THAT(requests(), SizeIs(1));
}

}  // namespace
