#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <ostream>
#include <string>
#include <utility>

#include "Auth/AzureSharedKeySigner.h"
#include "support/azure_fixture.h"

namespace {

namespace Http = CloudStorage::Http;
namespace AzureSharedKey = CloudStorage::Auth::AzureSharedKey;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Pair;
using TestSupport::azureAuthentication;

constexpr char kDate[] = "Thu, 29 Feb 2024 08:30:15 GMT";
const auto kNow = std::chrono::system_clock::from_time_t(1709195415);

Http::Request requestTo(const std::string& address, Http::Method method = Http::Method::Get,
                        Http::HeaderValueCollection headers = {}) {
  Http::Request request;
  request.method = method;
  request.uri = Http::URI::parse(address).value();
  request.headers = std::move(headers);
  return request;
}

/// A request and its signed text. The signatures were computed by independent signers.
struct Vector {
  const char* name;
  Http::Method method;
  const char* address;
  Http::HeaderValueCollection headers;
  const char* signedText;
  const char* signature;
};

void PrintTo(const Vector& vector, std::ostream* out) { *out << vector.name; }

const Http::HeaderValueCollection kXml = {{"content-type", "application/xml"}};
const Http::HeaderValueCollection kXmlBlob = {{"content-type", "application/xml"},
                                              {"x-ms-blob-type", "BlockBlob"}};

const Vector kVectors[] = {
    {"Containers", Http::Method::Get,
     "https://vemloacct.blob.core.windows.net/?comp=list&maxresults=100", kXml,
     "GET\n\n\n\n\napplication/xml\n\n\n\n\n\n\n"
     "x-ms-date:Thu, 29 Feb 2024 08:30:15 GMT\nx-ms-version:2021-12-02\n"
     "/vemloacct/\ncomp:list\nmaxresults:100",
     "UAQx2B2ZJwuKFASl7EOfptAnXGXE/PVuR66Gd125aUY="},
    {"Blobs", Http::Method::Get,
     "https://vemloacct.blob.core.windows.net/pictures?restype=container&comp=list"
     "&prefix=photos%2F%C3%89t%C3%A9%20%26%20co%2F&delimiter=%2F"
     "&marker=2%2192%21MDAwMDE2IXBob3Rvcy8yMDE5ITAwMDAyOCE5OTk5LTEyLTMxVDIzOjU5OjU5Ljk5OTk5OTlaIQ--"
     "&maxresults=100",
     kXml,
     "GET\n\n\n\n\napplication/xml\n\n\n\n\n\n\n"
     "x-ms-date:Thu, 29 Feb 2024 08:30:15 GMT\nx-ms-version:2021-12-02\n"
     "/vemloacct/pictures\ncomp:list\ndelimiter:/\n"
     "marker:2!92!MDAwMDE2IXBob3Rvcy8yMDE5ITAwMDAyOCE5OTk5LTEyLTMxVDIzOjU5OjU5Ljk5OTk5OTlaIQ--\n"
     "maxresults:100\nprefix:photos/\xC3\x89t\xC3\xA9 & co/\nrestype:container",
     "5o+599fIT6Tv57Q4Zcrt7GcZc59Zy+dVjXtbpy9BFYA="},
    {"NewContainer", Http::Method::Put,
     "https://vemloacct.blob.core.windows.net/pictures?restype=container", kXml,
     "PUT\n\n\n\n\napplication/xml\n\n\n\n\n\n\n"
     "x-ms-date:Thu, 29 Feb 2024 08:30:15 GMT\nx-ms-version:2021-12-02\n"
     "/vemloacct/pictures\nrestype:container",
     "Zqd2B3YX189NgjGltKetUKQgSWuNPJoZa/xcM5AOtBY="},
    {"NewBlob", Http::Method::Put,
     "https://vemloacct.blob.core.windows.net/pictures/photos/a%20b%2Bc/", kXmlBlob,
     "PUT\n\n\n\n\napplication/xml\n\n\n\n\n\n\n"
     "x-ms-blob-type:BlockBlob\n"
     "x-ms-date:Thu, 29 Feb 2024 08:30:15 GMT\nx-ms-version:2021-12-02\n"
     "/vemloacct/pictures/photos/a%20b%2Bc/",
     "qHC+2b6vCzBRoysvouEUtqsZrZ89nbKULTmrOvTVVzs="},
    {"NoContentType",
     Http::Method::Get,
     "https://vemloacct.blob.core.windows.net/?comp=list&maxresults=100",
     {},
     "GET\n\n\n\n\n\n\n\n\n\n\n\n"
     "x-ms-date:Thu, 29 Feb 2024 08:30:15 GMT\nx-ms-version:2021-12-02\n"
     "/vemloacct/\ncomp:list\nmaxresults:100",
     "xwLDzPQ5JIKWc5+9VgzNV2l8ZSRdJmg63cm2LGVDvmg="},
};

class AzureSharedKeyVector : public ::testing::TestWithParam<Vector> {};

TEST_P(AzureSharedKeyVector, HasThisSignedText) {
  auto request = requestTo(GetParam().address, GetParam().method, GetParam().headers);
  request.headers["x-ms-date"] = kDate;
  request.headers["x-ms-version"] = "2021-12-02";
  EXPECT_EQ(AzureSharedKey::stringToSign(request, "vemloacct"), GetParam().signedText);
}

TEST_P(AzureSharedKeyVector, HasThisSignature) {
  auto request = requestTo(GetParam().address, GetParam().method, GetParam().headers);
  AzureSharedKey::sign(request, *azureAuthentication("vemloacct"), kNow);

  auto expected = GetParam().headers;
  expected["x-ms-date"] = kDate;
  expected["x-ms-version"] = "2021-12-02";
  expected["authorization"] = std::string("SharedKey vemloacct:") + GetParam().signature;
  EXPECT_EQ(request.headers, expected);
  EXPECT_EQ(request.uri.toString(), GetParam().address) << "signing changes no address";
}

INSTANTIATE_TEST_SUITE_P(Requests, AzureSharedKeyVector, ::testing::ValuesIn(kVectors),
                         [](const auto& test) { return std::string(test.param.name); });

// The part of the signed text that depends on the address: account, path and query.
std::string resourceOf(const std::string& address, const std::string& account = "account") {
  const auto text = AzureSharedKey::stringToSign(requestTo(address), account);
  return text.substr(text.find('/'));
}

TEST(AzureSharedKeyResource, AddressWithoutAPathHasTheRoot) {
  EXPECT_EQ(resourceOf("https://account.test"), "/account/");
  EXPECT_EQ(resourceOf("https://account.test/"), "/account/");
  EXPECT_EQ(resourceOf("https://account.test?comp=list"), "/account/\ncomp:list");
}

TEST(AzureSharedKeyResource, PathIsTakenAsItIsEncoded) {
  EXPECT_EQ(resourceOf("https://account.test/a%20b%2Bc%2f/.././/d/"),
            "/account/a%20b%2Bc%2f/.././/d/");
}

TEST(AzureSharedKeyResource, AccountInThePathOccursTwice) {
  EXPECT_EQ(resourceOf("http://127.0.0.1:10000/account/pictures"), "/account/account/pictures");
}

TEST(AzureSharedKeyResource, HostAndPortAreOmitted) {
  EXPECT_EQ(resourceOf("http://elsewhere.test:8080/c", "other"), "/other/c");
}

TEST(AzureSharedKeyResource, ValuesAreDecodedOnce) {
  EXPECT_EQ(resourceOf("https://a.test/?prefix=%C3%89%20%26%2541%2B%2F+&x=%0A"),
            "/account/\nprefix:\xC3\x89 &%41+/+\nx:\n");
}

TEST(AzureSharedKeyResource, NamesAreInLowerCaseAndInOrder) {
  EXPECT_EQ(resourceOf("https://a.test/?Zeta=Z&alpha=A&BETA=b&comp%6C=1"),
            "/account/\nalpha:A\nbeta:b\ncompl:1\nzeta:Z");
}

TEST(AzureSharedKeyResource, NameThatIsAPrefixOfAnotherIsFirst) {
  EXPECT_EQ(resourceOf("https://a.test/?ab=1&a-b=2&a=3"), "/account/\na:3\na-b:2\nab:1");
}

TEST(AzureSharedKeyResource, RepeatedParameterIsOneLineOfSortedValues) {
  EXPECT_EQ(resourceOf("https://a.test/?x=c&include=b&X=a&y=1&x=b"),
            "/account/\ninclude:b\nx:a,b,c\ny:1");
  EXPECT_EQ(resourceOf("https://a.test/?x=1&x=1"), "/account/\nx:1,1");
}

TEST(AzureSharedKeyResource, EmptyValueKeepsItsLine) {
  EXPECT_EQ(resourceOf("https://a.test/?marker=&comp=list&snapshot"),
            "/account/\ncomp:list\nmarker:\nsnapshot:");
  EXPECT_EQ(resourceOf("https://a.test/?x=&x=1"), "/account/\nx:,1");
}

TEST(AzureSharedKeyText, HasTheStandardHeadersInTheirOrder) {
  const auto request = requestTo("https://a.test/", Http::Method::Put,
                                 {{"content-encoding", "encoding"},
                                  {"content-language", "language"},
                                  {"content-md5", "md5"},
                                  {"content-type", "type; charset=utf-8"},
                                  {"date", "date"},
                                  {"if-modified-since", "modified"},
                                  {"if-match", "match"},
                                  {"if-none-match", "none"},
                                  {"if-unmodified-since", "unmodified"},
                                  {"range", "range"}});
  EXPECT_EQ(AzureSharedKey::stringToSign(request, "account"),
            "PUT\nencoding\nlanguage\n\nmd5\ntype; charset=utf-8\ndate\nmodified\nmatch\nnone\n"
            "unmodified\nrange\n/account/");
}

TEST(AzureSharedKeyText, LengthIsThatOfTheBodyAndEmptyWithoutOne) {
  auto request = requestTo("https://a.test/", Http::Method::Put, {{"content-length", "0"}});
  EXPECT_EQ(AzureSharedKey::stringToSign(request, "account"),
            "PUT\n\n\n\n\n\n\n\n\n\n\n\n/account/");
  request.body = "twelve bytes";
  EXPECT_EQ(AzureSharedKey::stringToSign(request, "account"),
            "PUT\n\n\n12\n\n\n\n\n\n\n\n\n/account/");
}

TEST(AzureSharedKeyText, HasOfOtherHeadersOnlyTheServicesOwn) {
  const auto request = requestTo("https://a.test/", Http::Method::Get,
                                 {{"accept", "1"},
                                  {"authorization", "2"},
                                  {"user-agent", "3"},
                                  {"x-ms", "4"},
                                  {"x-msx-a", "5"},
                                  {"x-ms-b", "6"},
                                  {"x-ms-a-c", "7"}});
  EXPECT_THAT(AzureSharedKey::stringToSign(request, "account"),
              EndsWith("\n\nx-ms-a-c:7\nx-ms-b:6\n/account/"));
}

TEST(AzureSharedKeySignature, IsReplacedWhenSignedAgain) {
  auto request = requestTo("https://vemloacct.blob.core.windows.net/?comp=list&maxresults=100");
  const auto authentication = azureAuthentication("vemloacct");
  AzureSharedKey::sign(request, *authentication, kNow - std::chrono::hours(1));
  AzureSharedKey::sign(request, *authentication, kNow);
  EXPECT_THAT(request.headers,
              ElementsAre(Pair("authorization",
                               "SharedKey vemloacct:xwLDzPQ5JIKWc5+9VgzNV2l8ZSRdJmg63cm2LGVDvmg="),
                          Pair("x-ms-date", kDate), Pair("x-ms-version", "2021-12-02")));
}

TEST(AzureSharedKeySignature, DependsOnTheKeyAndTheTime) {
  const auto signatureOf = [](const std::string& key, std::chrono::seconds later) {
    CloudStorage::Auth::AzureSSBAuthentication authentication("account", key);
    EXPECT_TRUE(authentication.decodeAccessKey());
    auto request = requestTo("https://a.test/");
    AzureSharedKey::sign(request, authentication, kNow + later);
    return request.headers.at("authorization");
  };
  const std::string signature = signatureOf("a2V5", std::chrono::seconds(0));
  EXPECT_EQ(signature, signatureOf("a2V5", std::chrono::seconds(0)));
  EXPECT_NE(signature, signatureOf("a2V6", std::chrono::seconds(0)));
  EXPECT_NE(signature, signatureOf("a2V5", std::chrono::seconds(1)));
  EXPECT_THAT(signature, HasSubstr("SharedKey account:"));
}

}  // namespace
