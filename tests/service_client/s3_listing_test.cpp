#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <ostream>
#include <string>
#include <vector>

#include "CloudStorage/Client/S3/S3Client.h"
#include "support/expectations.h"
#include "support/s3_fixture.h"

namespace {

namespace Http = CloudStorage::Http;
namespace Model = CloudStorage::Client::S3::Model;
using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Util::Outcome;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using TestSupport::expectInvalidRequest;
using TestSupport::expectMalformedResponse;
using TestSupport::response;
using TestSupport::s3Error;

constexpr char kEmptyPage[] = "<ListBucketResult/>";
constexpr char kStore[] = "https://store.test";
constexpr char kPlain[] = "https://store.test/vemlo-data?list-type=2";
constexpr char kEncoded[] = "https://store.test/vemlo-data?encoding-type=url&list-type=2";

Model::ListObjectsV2Request everythingIn(const std::string& bucket = "vemlo-data") {
  Model::ListObjectsV2Request request;
  request.bucket = bucket;
  return request;
}

class S3ListObjects : public ::testing::Test, protected TestSupport::S3Fixture {
 protected:
  // The address of `request` as it is sent.
  std::string addressOf(const Model::ListObjectsV2Request& request,
                        const std::string& endpoint = kStore, const std::string& region = {}) {
    enqueue(response(200, kEmptyPage));
    EXPECT_TRUE(makeClient(endpoint, region)->listObjectsV2(request).isSuccess());
    return addresses().back();
  }

  Outcome<Model::ListObjectsV2Result, Error> list() {
    return makeClient(kStore)->listObjectsV2(everythingIn());
  }

  Outcome<Model::ListObjectsV2Result, Error> read(const std::string& body) {
    enqueue(response(200, body, {{"content-type", "application/xml"}}));
    return list();
  }

  std::vector<std::string> prefixesOf(const Outcome<Model::ListObjectsV2Result, Error>& outcome) {
    EXPECT_TRUE(outcome.isSuccess()) << outcome.getError().message;
    const auto& prefixes = outcome.getResult().commonPrefixes;
    return {prefixes.begin(), prefixes.end()};
  }

  // The only prefix of a page, where it is written as `prefix`.
  std::string prefixFrom(const std::string& prefix, const std::string& more = {}) {
    return prefixesOf(read("<ListBucketResult>" + more + "<CommonPrefixes><Prefix>" + prefix +
                           "</Prefix></CommonPrefixes></ListBucketResult>"))
        .at(0);
  }
};

TEST_F(S3ListObjects, RequestIsExactlyThis) {
  auto request = everythingIn();
  request.prefix = "photos/\xC3\x89t\xC3\xA9 & co~/";
  request.delimiter = "/";
  EXPECT_EQ(addressOf(request, "https://s3.eu-central-1.amazonaws.com"),
            "https://vemlo-data.s3.eu-central-1.amazonaws.com/?delimiter=%2F&list-type=2"
            "&prefix=photos%2F%C3%89t%C3%A9%20%26%20co~%2F");
  const auto sent = requests().at(0);
  EXPECT_EQ(sent.method, Http::Method::Get);
  EXPECT_EQ(sent.body, "");
  EXPECT_THAT(
      sent.headers,
      ElementsAre(
          Pair("authorization",
               "AWS4-HMAC-SHA256 "
               "Credential=AKIDVEMLOTEST0000001/20240229/eu-central-1/s3/aws4_request, "
               "SignedHeaders=host;x-amz-content-sha256;x-amz-date, "
               "Signature=897c5bbd781d3f83a7454c38c53c39e9a8a11e2e537bb808798d930e59180794"),
          Pair("host", "vemlo-data.s3.eu-central-1.amazonaws.com"),
          Pair("x-amz-content-sha256",
               "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"),
          Pair("x-amz-date", "20240229T083015Z")));
}

TEST_F(S3ListObjects, OnlyPresentParametersAreSent) {
  auto request = everythingIn();
  EXPECT_EQ(addressOf(request), kPlain);
  request.continuationToken = "";
  EXPECT_EQ(addressOf(request), kPlain) << "an empty token counts as absent";
  request.continuationToken = "1/a+b==";
  request.startAfter = "x y";
  request.maxKeys = 7;
  request.encodingType = "url";
  EXPECT_EQ(addressOf(request),
            "https://store.test/vemlo-data?continuation-token=1%2Fa%2Bb%3D%3D&encoding-type=url"
            "&list-type=2&max-keys=7&start-after=x%20y");
}

/// The address of a bucket's listing.
struct Place {
  const char* endpoint;
  std::string bucket;
  std::string root;
};

TEST_F(S3ListObjects, BucketHasItsOwnHostWhereCertificatesAndDnsAllowIt) {
  const std::string longest(63, 'a');
  const Place places[] = {
      {"", "vemlo-data", "https://vemlo-data.s3.amazonaws.com/"},
      {"", "abc", "https://abc.s3.amazonaws.com/"},
      {"", "1-2", "https://1-2.s3.amazonaws.com/"},
      {"", longest, "https://" + longest + ".s3.amazonaws.com/"},
      {"https://s3.amazonaws.com:443", "abc", "https://abc.s3.amazonaws.com/"},
      {"s3.eu-west-1.amazonaws.com", "abc", "https://abc.s3.eu-west-1.amazonaws.com/"},
      {"s3.us-east-1.amazonaws.com", "abc", "https://abc.s3.us-east-1.amazonaws.com/"},
      {"s3-eu-west-1.amazonaws.com", "abc", "https://abc.s3-eu-west-1.amazonaws.com/"},
      {"s3.dualstack.eu-west-1.amazonaws.com", "abc",
       "https://abc.s3.dualstack.eu-west-1.amazonaws.com/"},
      {"s3.cn-north-1.amazonaws.com.cn", "abc", "https://abc.s3.cn-north-1.amazonaws.com.cn/"},
      {"s3.cn-northwest-1.amazonaws.com.cn", "abc",
       "https://abc.s3.cn-northwest-1.amazonaws.com.cn/"},
  };
  for (const auto& [endpoint, bucket, root] : places) {
    EXPECT_EQ(addressOf(everythingIn(bucket), endpoint), root + "?list-type=2");
    EXPECT_EQ("https://" + requests().back().headers.at("host") + '/', root);
  }
}

TEST_F(S3ListObjects, BucketIsPartOfThePathOtherwise) {
  const std::string tooLong(64, 'a');
  const Place places[] = {
      {"", "vemlo.data", "https://s3.amazonaws.com/vemlo.data"},
      {"", "Vemlo", "https://s3.amazonaws.com/Vemlo"},
      {"", "vemlo_data", "https://s3.amazonaws.com/vemlo_data"},
      {"", "192.168.1.1", "https://s3.amazonaws.com/192.168.1.1"},
      {"", "ab", "https://s3.amazonaws.com/ab"},
      {"", "-ab", "https://s3.amazonaws.com/-ab"},
      {"", "ab-", "https://s3.amazonaws.com/ab-"},
      {"", "evil.test/x@y#z", "https://s3.amazonaws.com/evil.test%2Fx%40y%23z"},
      {"",
       "b\xC3\xBC"
       "cher",
       "https://s3.amazonaws.com/b%C3%BCcher"},
      {"", tooLong, "https://s3.amazonaws.com/" + tooLong},
      {"http://s3.amazonaws.com", "abc", "http://s3.amazonaws.com/abc"},
      {"https://s3.amazonaws.com:8443", "abc", "https://s3.amazonaws.com:8443/abc"},
      {"https://s3.amazonaws.com/base", "abc", "https://s3.amazonaws.com/base/abc"},
      {"s3.cn-north-1.amazonaws.com.cn", "a.b", "https://s3.cn-north-1.amazonaws.com.cn/a.b"},
      {"s3.wasabisys.com", "abc", "https://s3.wasabisys.com/abc"},
      {"s3.eu-central-1.wasabisys.com", "abc", "https://s3.eu-central-1.wasabisys.com/abc"},
      {"store.test/base/", "abc", "https://store.test/base/abc"},
      {"http://127.0.0.1:9000", "abc", "http://127.0.0.1:9000/abc"},
      {"http://127.0.0.1", "abc", "http://127.0.0.1/abc"},
      {"https://[::1]:9000", "abc", "https://[::1]:9000/abc"},
  };
  for (const auto& [endpoint, bucket, root] : places) {
    EXPECT_EQ(addressOf(everythingIn(bucket), endpoint), root + "?list-type=2");
  }
}

TEST_F(S3ListObjects, SessionsRegionSelectsTheHostOfAws) {
  EXPECT_EQ(addressOf(everythingIn("abc"), "", "eu-west-1"),
            "https://abc.s3.eu-west-1.amazonaws.com/?list-type=2");
  EXPECT_EQ(addressOf(everythingIn("a.b"), "s3.eu-west-1.amazonaws.com", "us-east-2"),
            "https://s3.us-east-2.amazonaws.com/a.b?list-type=2");
  EXPECT_EQ(addressOf(everythingIn("abc"), kStore, "garage"), "https://store.test/abc?list-type=2");
  EXPECT_THAT(regions(), ElementsAre("eu-west-1", "us-east-2", "garage"));
}

TEST_F(S3ListObjects, InvalidRegionOfTheSessionIsNotPartOfTheHost) {
  for (const char* region : {"evil.test/", "a@b", "a#", "a:80", "EU", "a b"}) {
    EXPECT_EQ(addressOf(everythingIn("abc"), "", region),
              "https://abc.s3.amazonaws.com/?list-type=2")
        << region;
  }
}

TEST_F(S3ListObjects, InvalidBucketIsNotSent) {
  for (const char* bucket : {"", ".", ".."}) {
    const auto outcome = makeClient("")->listObjectsV2(everythingIn(bucket));
    SCOPED_TRACE(bucket);
    expectInvalidRequest(outcome);
  }
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(S3ListObjects, PrefixesAndObjectsAreReadInTheServicesOrder) {
  const auto outcome = read(
      R"(<?xml version="1.0" encoding="UTF-8"?>
<ListBucketResult xmlns="http://s3.amazonaws.com/doc/2006-03-01/">
  <Name>vemlo-data</Name><Prefix>photos/</Prefix><Delimiter>/</Delimiter>
  <IsTruncated>true</IsTruncated><NextContinuationToken>t</NextContinuationToken>
  <CommonPrefixes><Prefix>photos/z/</Prefix></CommonPrefixes>
  <Contents>
    <Key>photos/</Key><LastModified>2024-02-29T08:30:15.000Z</LastModified>
    <ETag>&quot;d41d&quot;</ETag><Size>0</Size><StorageClass>STANDARD</StorageClass>
    <Prefix>no</Prefix>
  </Contents>
  <CommonPrefixes><Prefix>photos/a/</Prefix><Prefix>photos/R&amp;D &lt;new&gt;/</Prefix><Other>
    <Prefix>no</Prefix></Other></CommonPrefixes>
  <CommonPrefixes/>
  <Contents><Key>photos/b</Key></Contents>
  <New><CommonPrefixes><Prefix>no</Prefix></CommonPrefixes></New>
</ListBucketResult>)");
  EXPECT_THAT(prefixesOf(outcome), ElementsAre("photos/z/", "photos/a/", "photos/R&D <new>/"));
  EXPECT_THAT(
      outcome.getResult().objects,
      ElementsAre(AllOf(Field(&Model::Object::key, "photos/"),
                        Field(&Model::Object::lastModified, "2024-02-29T08:30:15.000Z"),
                        Field(&Model::Object::eTag, "\"d41d\""), Field(&Model::Object::size, "0"),
                        Field(&Model::Object::storageClass, "STANDARD")),
                  Field(&Model::Object::key, "photos/b")));
  EXPECT_THAT(requests(), SizeIs(1)) << "one page";
}

TEST_F(S3ListObjects, TopLevelPrefixIsIgnored) {
  const auto outcome = read("<ListBucketResult><Prefix>photos/</Prefix></ListBucketResult>");
  EXPECT_THAT(prefixesOf(outcome), IsEmpty());
  EXPECT_THAT(outcome.getResult().objects, IsEmpty());
}

TEST_F(S3ListObjects, NamespacesAndPrefixesDoNotMatter) {
  EXPECT_THAT(prefixesOf(read(
                  R"(<s:ListBucketResult xmlns:s="urn:x"><s:CommonPrefixes><s:Prefix>a/)"
                  "</s:Prefix><s:Prefix>b/</s:Prefix></s:CommonPrefixes></s:ListBucketResult>")),
              ElementsAre("a/", "b/"));
  EXPECT_THAT(prefixesOf(read("\xEF\xBB\xBF<ListBucketResult xmlns='urn:x'><CommonPrefixes><Prefix>"
                              "a/</Prefix></CommonPrefixes></ListBucketResult>")),
              ElementsAre("a/"));
}

TEST_F(S3ListObjects, PrefixesAreReadByteForByte) {
  EXPECT_EQ(prefixFrom(" a  b /"), " a  b /");
  EXPECT_EQ(prefixFrom("&amp;&lt;&gt;&quot;&apos;+%41/"), "&<>\"'+%41/");
  EXPECT_EQ(prefixFrom("&#x1;&#x1b;/"), "\x01\x1b/");
  EXPECT_EQ(prefixFrom("\xC3\xA9"
                       "e\xCC\x81/"),
            "\xC3\xA9"
            "e\xCC\x81/");
  EXPECT_EQ(prefixFrom("\xF0\x9F\x98\x80&#x1F600;/"), "\xF0\x9F\x98\x80\xF0\x9F\x98\x80/");
  EXPECT_EQ(prefixFrom("a<![CDATA[&b]]>c/"), "a&bc/");
}

TEST_F(S3ListObjects, KeysAreDecodedIfTheResponseIsUrlEncoded) {
  const std::string isEncoded = "<EncodingType>url</EncodingType>";
  EXPECT_EQ(prefixFrom("a+b%2Bc%2bd%20e%2F", isEncoded), "a b+c+d e/");
  EXPECT_EQ(prefixFrom("%01%EF%BF%BE%2541/", isEncoded), "\x01\xEF\xBF\xBE%41/");
  const auto outcome = read(
      "<ListBucketResult><Contents><Key>a+%2B</Key><ETag>a+%2B</ETag>"
      "</Contents><EncodingType>url</EncodingType></ListBucketResult>");
  EXPECT_THAT(
      outcome.getResult().objects,
      ElementsAre(AllOf(Field(&Model::Object::key, "a +"), Field(&Model::Object::eTag, "a+%2B"))));
}

TEST_F(S3ListObjects, KeysAreNotDecodedOtherwise) {
  for (const char* more : {"", "<EncodingType/>", "<EncodingType>other</EncodingType>",
                           "<Other><EncodingType>url</EncodingType></Other>"}) {
    EXPECT_EQ(prefixFrom("a+b%2B%41/", more), "a+b%2B%41/") << more;
  }
}

using S3UnreadablePage = S3ListObjects;

TEST_F(S3UnreadablePage, IsRequestedOnceMoreWithEncodedKeys) {
  enqueue(response(200, "<ListBucketResult><CommonPrefixes><Prefix>&#0;", {}));
  enqueue(response(200,
                   "<ListBucketResult><EncodingType>url</EncodingType><CommonPrefixes><Prefix>%01a"
                   "</Prefix></CommonPrefixes></ListBucketResult>"));
  EXPECT_THAT(prefixesOf(list()), ElementsAre("\x01"
                                              "a"));
  EXPECT_THAT(addresses(), ElementsAre(kPlain, kEncoded));
  EXPECT_THAT(strategy->calls(), IsEmpty()) << "it does not count as an attempt";
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(S3UnreadablePage, OfAStoreThatDoesNotEncodeIsNotDecoded) {
  enqueue(response(200, "<ListBucketResult>"));
  enqueue(response(200,
                   "<ListBucketResult><CommonPrefixes><Prefix>%41+/</Prefix></CommonPrefixes>"
                   "</ListBucketResult>"));
  EXPECT_THAT(prefixesOf(list()), ElementsAre("%41+/"));
}

TEST_F(S3UnreadablePage, IsAFailureTheSecondTime) {
  enqueue(response(200, "<ListBucketResult>"));
  enqueue(response(200, "<ListBucketResult>"));
  const auto outcome = list();
  expectMalformedResponse(outcome);
  EXPECT_THAT(addresses(), ElementsAre(kPlain, kEncoded));
  EXPECT_THAT(strategy->calls(), ElementsAre(Pair(200, 0)));
}

TEST_F(S3UnreadablePage, StaysEncodedInLaterAttemptsOfTheCallOnly) {
  enqueue(response(200, "<ListBucketResult>"));
  enqueue(response(503));
  enqueue(response(200, kEmptyPage));
  enqueue(response(200, kEmptyPage));
  const auto client = makeClient(kStore);
  EXPECT_TRUE(client->listObjectsV2(everythingIn()).isSuccess());
  EXPECT_TRUE(client->listObjectsV2(everythingIn()).isSuccess());
  EXPECT_THAT(addresses(), ElementsAre(kPlain, kEncoded, kEncoded, kPlain));
}

TEST_F(S3UnreadablePage, OfHtmlIsAFailureAtOnce) {
  for (const char* type :
       {"text/html", "text/html; charset=utf-8", "Text/HTML", "application/xhtml+xml"}) {
    enqueue(response(200, "<html><body>Please log in<br></body></html>", {{"content-type", type}}));
    const auto outcome = list();
    SCOPED_TRACE(type);
    expectMalformedResponse(outcome);
  }
  EXPECT_THAT(requests(), SizeIs(4));
}

TEST_F(S3UnreadablePage, IsNotXml) {
  for (const char* body : {"", "text", "<ListBucketResult>", "<a/><b/>", "{}"}) {
    enqueue(response(200, body));
    enqueue(response(200, kEmptyPage));
    EXPECT_TRUE(list().isSuccess()) << body;
    EXPECT_EQ(addresses().back(), kEncoded) << body;
  }
}

TEST_F(S3UnreadablePage, OfAnotherFormIsAFailureAtOnce) {
  std::string deep;
  for (int i = 0; i < 100; ++i) deep.insert(0, "<a>").append("</a>");
  const std::string bodies[] = {"<ListAllMyBucketsResult/>",
                                "<html/>",
                                "<Error/>",
                                deep,
                                "<Error><Message>of no code</Message></Error>",
                                "<!DOCTYPE a><ListBucketResult/>"};
  for (const std::string& body : bodies) {
    SCOPED_TRACE(body);
    expectMalformedResponse(read(body));
  }
  EXPECT_THAT(addresses(), ::testing::Each(kPlain));
  EXPECT_THAT(addresses(), SizeIs(std::size(bodies)));
}

TEST_F(S3UnreadablePage, OfAnotherStatusIsAFailureAtOnce) {
  for (const int status : {201, 202, 204, 206}) {
    enqueue(response(status, status == 204 ? "" : "<ListBucketResult>"));
    EXPECT_EQ(list().getError().exceptionName, "MalformedResponse") << status;
  }
  EXPECT_THAT(addresses(), ::testing::Each(kPlain));
}

TEST_F(S3UnreadablePage, ErrorUnderAStatusOfSuccessIsAFailure) {
  const auto outcome = read(s3Error("InternalError"));
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().exceptionName, "InternalError");
  EXPECT_EQ(outcome.getError().errorType, CoreErrors::ServiceFailure);
  EXPECT_THAT(requests(), SizeIs(1));
}

}  // namespace
