#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "Auth/AWSV4Signer.h"
#include "Auth/Digest.h"

namespace {

namespace AWSV4 = CloudStorage::Auth::AWSV4;
using CloudStorage::Auth::AWSAuthCredential;
using CloudStorage::Auth::AWSV4Signer;
using CloudStorage::Auth::hex;
using CloudStorage::Auth::sha256;
using CloudStorage::Http::Method;
using CloudStorage::Http::Request;
using CloudStorage::Http::URI;
using ::testing::HasSubstr;
using ::testing::Not;
using namespace std::chrono_literals;

constexpr char kAccessKey[] = "AKIDVEMLOTEST0000001";
constexpr char kSecretKey[] = "vemloTestSecretKey/0123456789+abcdefABCD";
constexpr char kTimestamp[] = "20240229T083015Z";
constexpr char kDate[] = "20240229";
constexpr char kEmptyHash[] = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

std::chrono::system_clock::time_point signingTime() {
  return std::chrono::system_clock::from_time_t(1709195415);  // 2024-02-29 08:30:15 UTC
}

std::shared_ptr<AWSAuthCredential> credential() {
  return std::make_shared<AWSAuthCredential>(kAccessKey, kSecretKey, "s3", "us-east-1");
}

/// A request with every intermediate stage and its signature, computed by independent signers.
struct Vector {
  const char* name;
  Method method;
  const char* url;
  const char* contentType;
  const char* body;
  const char* region;
  /// The canonical request from the method to the headers.
  const char* canonicalHead;
  const char* signedHeaders;
  const char* payloadHash;
  const char* canonicalHash;
  const char* regionKey;
  const char* serviceKey;
  const char* signingKey;
  const char* signature;
};

std::ostream& operator<<(std::ostream& out, const Vector& vector) { return out << vector.name; }

constexpr char kGlobalRegionKey[] =
    "6d7455da70792bd2128605eecdf270903d7f127f4c3722c86c916d8e83f451a1";
constexpr char kGlobalServiceKey[] =
    "656ed88cebb0ae7480b0b9254cc5c9b92fc57c1b066bf9cc2a0e1dfa1bdeaa2e";
constexpr char kGlobalSigningKey[] =
    "a9231e1610224169e91c838a52cf347796dc4ff6349118f76219e3b4078fbd12";

const Vector kVectors[] = {
    {"ListBuckets", Method::Get, "https://s3.amazonaws.com/", "", "", "us-east-1",
     "GET\n/\n\n"
     "host:s3.amazonaws.com\n"
     "x-amz-content-sha256:e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855\n"
     "x-amz-date:20240229T083015Z\n\n",
     "host;x-amz-content-sha256;x-amz-date", kEmptyHash,
     "f7619b5ecbd8e848583471bf100992f95e695f7b1413ce2ea19f6b225ac99f51", kGlobalRegionKey,
     kGlobalServiceKey, kGlobalSigningKey,
     "5886bbd26b936acaea17863bbe7d18e7e1e85580a039a079d925c4776b5d5eb1"},
    {"QueryOfEncodedUtf8", Method::Get,
     "https://vemlo-data.s3.eu-central-1.amazonaws.com/"
     "?delimiter=%2F&list-type=2&prefix=photos%2F%C3%89t%C3%A9%20%26%20co~%2F",
     "", "", "eu-central-1",
     "GET\n/\ndelimiter=%2F&list-type=2&prefix=photos%2F%C3%89t%C3%A9%20%26%20co~%2F\n"
     "host:vemlo-data.s3.eu-central-1.amazonaws.com\n"
     "x-amz-content-sha256:e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855\n"
     "x-amz-date:20240229T083015Z\n\n",
     "host;x-amz-content-sha256;x-amz-date", kEmptyHash,
     "0b5ae530a414e4d457b0a2c43dbddfe3fe3801bafc253ded9b8c8d8d79119ccf",
     "ae338c6a86162c78e05e2ea1eb3affcf7e07e00e3fdc2654bca9e22776cd45c0",
     "1db73e28451a7b10e1fd229f94acfd42b743aed95e674d7961f1242b46fd259c",
     "7c7b96d1e124304720a1ad6a140ee9714e021e8a34b72a1e276cb4f319120a20",
     "897c5bbd781d3f83a7454c38c53c39e9a8a11e2e537bb808798d930e59180794"},
    {"PortAndEncodedPath", Method::Put,
     "https://store.example.test:9000/vemlo-data/photos/a%20b%2Bc%3D%281%29~/", "", "", "us-east-1",
     "PUT\n/vemlo-data/photos/a%20b%2Bc%3D%281%29~/\n\n"
     "host:store.example.test:9000\n"
     "x-amz-content-sha256:e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855\n"
     "x-amz-date:20240229T083015Z\n\n",
     "host;x-amz-content-sha256;x-amz-date", kEmptyHash,
     "c05b9f35182b25cfce40e24bd8897fef6942c0b83869d54320a94a3e4f0e0081", kGlobalRegionKey,
     kGlobalServiceKey, kGlobalSigningKey,
     "2d99d660d1acfdc2b86ba4de7f218db88d1a5f9975dc63f2199848cebf7edcbc"},
    {"BodyAndContentType", Method::Put, "https://s3.amazonaws.com/vemlo-new", "application/xml",
     R"(<?xml version="1.0" encoding="UTF-8"?>)"
     R"(<CreateBucketConfiguration xmlns="http://s3.amazonaws.com/doc/2006-03-01/">)"
     "<LocationConstraint>eu-central-1</LocationConstraint></CreateBucketConfiguration>",
     "us-east-1",
     "PUT\n/vemlo-new\n\n"
     "content-type:application/xml\n"
     "host:s3.amazonaws.com\n"
     "x-amz-content-sha256:61e8269c060462ad00b1f0a9ad85c9d269dae7c938203e54cff8b37b1f11f372\n"
     "x-amz-date:20240229T083015Z\n\n",
     "content-type;host;x-amz-content-sha256;x-amz-date",
     "61e8269c060462ad00b1f0a9ad85c9d269dae7c938203e54cff8b37b1f11f372",
     "a75decff178370fa1cf98406b87997abf89a668ed739788de6f02c08bd2fff59", kGlobalRegionKey,
     kGlobalServiceKey, kGlobalSigningKey,
     "b10c9dc14b3c03191b8b91f910a87185bbdde94130409349e7b6e514eafefaa4"},
    {"China", Method::Put, "https://s3.cn-north-1.amazonaws.com.cn/vemlo-cn", "application/xml",
     R"(<?xml version="1.0" encoding="UTF-8"?>)"
     R"(<CreateBucketConfiguration xmlns="http://s3.amazonaws.com/doc/2006-03-01/">)"
     "<LocationConstraint>cn-north-1</LocationConstraint></CreateBucketConfiguration>",
     "cn-north-1",
     "PUT\n/vemlo-cn\n\n"
     "content-type:application/xml\n"
     "host:s3.cn-north-1.amazonaws.com.cn\n"
     "x-amz-content-sha256:a796e10c88ca92d6d9233ae35732b96dfb1e696ee714daa23c6b4a063c927bc4\n"
     "x-amz-date:20240229T083015Z\n\n",
     "content-type;host;x-amz-content-sha256;x-amz-date",
     "a796e10c88ca92d6d9233ae35732b96dfb1e696ee714daa23c6b4a063c927bc4",
     "e902b1d4ead39fe0e7bdc24c5f79b81b60c4b7b191d6934eaa3d09deab1439dd",
     "18a4a6fe2fae4511e3e448dd93b648d75858de2ea2f62ab4cccbbe438b75c79a",
     "e6f5d423b94495f0cf7731c25187a9e992559cca9fd62b2b222b818bbc87b522",
     "2e1b835b3aab09c49ece073d48b8b7eb61ef21a572d638f4b5d89801a02e12cf",
     "ab55a4ce310ebe5759a2646b253a6acce75c2a25bf53972c160fdb1f5bf128f1"},
};

Request requestOf(const Vector& vector) {
  Request request;
  request.method = vector.method;
  request.uri = URI::parse(vector.url).value();
  request.body = vector.body;
  if (*vector.contentType != '\0') request.headers["content-type"] = vector.contentType;
  return request;
}

class SignerVector : public ::testing::TestWithParam<Vector> {};

TEST_P(SignerVector, EveryStageAgrees) {
  const Vector& expected = GetParam();
  Request request = requestOf(expected);
  request.headers["host"] = request.uri.authority();
  request.headers["x-amz-date"] = kTimestamp;
  request.headers["x-amz-content-sha256"] = expected.payloadHash;
  ASSERT_EQ(hex(sha256(request.body)), expected.payloadHash);

  std::string signedHeaders;
  const auto canonical = AWSV4::canonicalRequest(request, expected.payloadHash, signedHeaders);
  EXPECT_EQ(canonical, std::string(expected.canonicalHead) + expected.signedHeaders + '\n' +
                           expected.payloadHash);
  EXPECT_EQ(signedHeaders, expected.signedHeaders);
  EXPECT_EQ(hex(sha256(canonical)), expected.canonicalHash);

  const auto scope = AWSV4::credentialScope(kTimestamp, expected.region, "s3");
  EXPECT_EQ(scope, std::string(kDate) + '/' + expected.region + "/s3/aws4_request");
  const auto text = AWSV4::stringToSign(kTimestamp, scope, canonical);
  EXPECT_EQ(text, "AWS4-HMAC-SHA256\n20240229T083015Z\n20240229/" + std::string(expected.region) +
                      "/s3/aws4_request\n" + expected.canonicalHash);

  const auto key = AWSV4::deriveSigningKey(kSecretKey, kDate, expected.region, "s3");
  EXPECT_EQ(hex(key.date), "815504b73efc9afc5c9052d34fdbabe5af32171700e0665738ab6f4365e70b76");
  EXPECT_EQ(hex(key.region), expected.regionKey);
  EXPECT_EQ(hex(key.service), expected.serviceKey);
  EXPECT_EQ(hex(key.signing), expected.signingKey);
  EXPECT_EQ(hex(CloudStorage::Auth::hmacSha256(key.signing, text)), expected.signature);
}

TEST_P(SignerVector, SignedRequestCarriesTheHeaders) {
  const Vector& expected = GetParam();
  Request request = requestOf(expected);
  AWSV4Signer signer(credential());
  signer.sign(request, expected.region, signingTime());

  EXPECT_EQ(request.headers["host"], request.uri.authority());
  EXPECT_EQ(request.headers["x-amz-date"], kTimestamp);
  EXPECT_EQ(request.headers["x-amz-content-sha256"], expected.payloadHash);
  EXPECT_EQ(request.headers["authorization"],
            "AWS4-HMAC-SHA256 Credential=AKIDVEMLOTEST0000001/20240229/" +
                std::string(expected.region) + "/s3/aws4_request, SignedHeaders=" +
                expected.signedHeaders + ", Signature=" + expected.signature);
  EXPECT_EQ(request.uri.toString(), expected.url);
  EXPECT_EQ(request.body, expected.body);
}

INSTANTIATE_TEST_SUITE_P(AWSV4Signer, SignerVector, ::testing::ValuesIn(kVectors),
                         [](const auto& vector) { return std::string(vector.param.name); });

TEST(AWSV4Signer, PayloadMayBeUnsigned) {
  constexpr char kUnsigned[] = "UNSIGNED-PAYLOAD";
  Request request = requestOf(kVectors[1]);
  request.headers["host"] = request.uri.authority();
  request.headers["x-amz-date"] = kTimestamp;
  request.headers["x-amz-content-sha256"] = kUnsigned;

  std::string signedHeaders;
  const auto canonical = AWSV4::canonicalRequest(request, kUnsigned, signedHeaders);
  EXPECT_EQ(hex(sha256(canonical)),
            "967b4f9629ed02ce31bbb7e7e509b80c2467a02e5caca3ad313770d1c0bf3a6b");
  const auto scope = AWSV4::credentialScope(kTimestamp, "eu-central-1", "s3");
  const auto key = AWSV4::deriveSigningKey(kSecretKey, kDate, "eu-central-1", "s3");
  EXPECT_EQ(hex(CloudStorage::Auth::hmacSha256(key.signing,
                                               AWSV4::stringToSign(kTimestamp, scope, canonical))),
            "137775b1a75b41d0875c78e9fd462594a2daf315e0e6cff24789e22bfa562964");
}

std::string canonicalOf(const Request& request) {
  std::string signedHeaders;
  return AWSV4::canonicalRequest(request, "hash", signedHeaders);
}

TEST(AWSV4Signer, PathIsNeitherNormalisedNorEncodedAgain) {
  Request request;
  request.uri = URI::parse("https://host/a/../b/./c//d%2Fe%20f/").value();
  EXPECT_EQ(canonicalOf(request), "GET\n/a/../b/./c//d%2Fe%20f/\n\n\n\nhash");
}

TEST(AWSV4Signer, EmptyPathIsTheRoot) {
  Request request;
  request.uri = URI::parse("https://host").value();
  EXPECT_EQ(canonicalOf(request), "GET\n/\n\n\n\nhash");
}

TEST(AWSV4Signer, QueryIsSortedInTheSignatureButNotOnTheWire) {
  Request request;
  request.uri = URI::parse("https://host/?rk=%2f&acl&b=2&a=&b=1").value();
  EXPECT_EQ(canonicalOf(request), "GET\n/\na=&acl=&b=1&b=2&rk=%2f\n\n\nhash");
  EXPECT_EQ(request.uri.queryText(), "rk=%2f&acl=&b=2&a=&b=1");
}

TEST(AWSV4Signer, SignsOnlyHeadersThatProxiesDoNotChange) {
  Request request;
  request.uri = URI::parse("https://host/").value();
  request.headers = {{"accept", "*/*"},
                     {"accept-encoding", "gzip"},
                     {"connection", "close"},
                     {"content-length", "3"},
                     {"content-md5", "rL0Y20zC+Fzt72VPzMSk2A=="},
                     {"content-type", ""},
                     {"expect", "100-continue"},
                     {"host", "host"},
                     {"transfer-encoding", "chunked"},
                     {"user-agent", "agent"},
                     {"x-amz-acl", "private"},
                     {"x-other", "value"}};
  EXPECT_EQ(canonicalOf(request),
            "GET\n/\n\ncontent-md5:rL0Y20zC+Fzt72VPzMSk2A==\nhost:host\nx-amz-acl:private\n\n"
            "content-md5;host;x-amz-acl\nhash");
}

TEST(AWSV4Signer, SpacesInHeaderValuesAreTrimmedAndCollapsed) {
  Request request;
  request.uri = URI::parse("https://host/").value();
  request.headers = {{"x-amz-meta", "  one   two \t three  "}};
  EXPECT_THAT(canonicalOf(request), HasSubstr("\nx-amz-meta:one two three\n"));
}

TEST(AWSV4Signer, SigningAgainReplacesTheOldSignature) {
  AWSV4Signer signer(credential());
  Request request = requestOf(kVectors[0]);
  signer.sign(request, "eu-west-1", signingTime() + 1h);
  signer.sign(request, "us-east-1", signingTime());
  EXPECT_THAT(request.headers["authorization"], HasSubstr(kVectors[0].signature));
}

TEST(AWSV4Signer, SecretKeyIsInNoHeader) {
  AWSV4Signer signer(credential());
  Request request = requestOf(kVectors[3]);
  signer.sign(request, "us-east-1", signingTime());
  for (const auto& [name, value] : request.headers) EXPECT_THAT(value, Not(HasSubstr(kSecretKey)));
}

TEST(AWSV4Signer, TimestampDropsFractionsOfASecond) {
  EXPECT_EQ(AWSV4::timestamp(signingTime() + 999ms), kTimestamp);
  EXPECT_EQ(AWSV4::timestamp(std::chrono::system_clock::time_point()), "19700101T000000Z");
}

unsigned derivationsFor(const std::vector<std::string>& regions,
                        const std::vector<std::chrono::hours>& times) {
  AWSV4Signer signer(credential());
  for (const auto& time : times) {
    for (const auto& region : regions) {
      Request request = requestOf(kVectors[0]);
      signer.sign(request, region, signingTime() + time);
    }
  }
  return signer.keyDerivations();
}

TEST(AWSV4Signer, KeyIsDerivedOnceADayAndRegion) {
  EXPECT_EQ(derivationsFor({"a", "a", "a"}, {0h, 1h, 15h}), 1U);
  EXPECT_EQ(derivationsFor({"a", "b", "a", "b"}, {0h, 1h, 15h}), 2U) << "regions in turn";
  EXPECT_EQ(derivationsFor({"a"}, {0h, 15h, 16h, 39h, 40h}), 3U) << "midnight is in 15.5 hours";
}

TEST(AWSV4Signer, KeyOfTheNewDayIsUsed) {
  AWSV4Signer used(credential());
  AWSV4Signer fresh(credential());
  Request before = requestOf(kVectors[0]);
  used.sign(before, "us-east-1", signingTime());
  Request after = requestOf(kVectors[0]);
  used.sign(after, "us-east-1", signingTime() + 24h);
  Request expected = requestOf(kVectors[0]);
  fresh.sign(expected, "us-east-1", signingTime() + 24h);
  EXPECT_EQ(after.headers, expected.headers);
  EXPECT_NE(after.headers["authorization"], before.headers["authorization"]);
}

TEST(AWSV4Signer, ThreadsShareTheKeysOfOneSigner) {
  AWSV4Signer signer(credential());
  std::vector<std::thread> threads;
  std::vector<int> wrong(8, 0);
  for (std::size_t number = 0; number < wrong.size(); ++number) {
    threads.emplace_back([&signer, &mistakes = wrong[number]] {
      for (int round = 0; round < 50; ++round) {
        const Vector& vector = kVectors[round % 2];
        Request request = requestOf(vector);
        signer.sign(request, vector.region, signingTime());
        const auto& header = request.headers["authorization"];
        if (header.find(vector.signature) == std::string::npos) ++mistakes;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_THAT(wrong, ::testing::Each(0));
  EXPECT_EQ(signer.keyDerivations(), 2U);
}

}  // namespace
