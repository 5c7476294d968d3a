#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "Auth/AzureSharedKeySigner.h"
#include "support/azure_fixture.h"

namespace {

namespace Http = CloudStorage::Http;
namespace Model = CloudStorage::Client::AzureSSB::Model;
using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::AzureSSB::Region;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::response;

constexpr char kEmptyPage[] = "<EnumerationResults/>";
constexpr char kFirst[] = "https://vemloacct.blob.core.windows.net/?comp=list";

Http::Response redirectTo(const std::string& location, int status = 307) {
  return response(status, "", {{"location", location}});
}

class AzureRedirect : public ::testing::Test, protected TestSupport::AzureFixture {
 protected:
  // The address that a listing is sent to after a redirect to `location`.
  std::string targetOf(const std::string& location, Region region = Region::Global) {
    enqueue(redirectTo(location));
    enqueue(response(200, kEmptyPage));
    EXPECT_TRUE(makeClient("vemloacct", region)->listContainer({}).isSuccess()) << location;
    return addresses().back();
  }
};

TEST_F(AzureRedirect, IsSignedForTheNewUrlAndKeepsTheMethod) {
  const std::string target =
      "https://other.blob.core.windows.net/pictures/a%20b/?sv=x%2fy&restype=container";
  enqueue(redirectTo(target));
  enqueue(response(201));
  Model::PutBlobRequest request;
  request.container = "pictures";
  request.blob = "a b/";
  request.blobType = "BlockBlob";
  EXPECT_TRUE(makeClient()->putBlob(request).isSuccess());
  EXPECT_THAT(delays(), ElementsAre(1000));

  ASSERT_THAT(requests(), SizeIs(2));
  Http::Request expected;
  expected.method = Http::Method::Put;
  expected.uri = Http::URI::parse(target).value();
  expected.headers = {{"content-type", "application/xml"}, {"x-ms-blob-type", "BlockBlob"}};
  const auto authentication = TestSupport::azureAuthentication("vemloacct");
  CloudStorage::Auth::AzureSharedKey::sign(expected, *authentication, now());
  EXPECT_EQ(requests()[1].method, Http::Method::Put);
  EXPECT_EQ(requests()[1].uri.toString(), target);
  EXPECT_EQ(requests()[1].headers, expected.headers);
}

TEST_F(AzureRedirect, OfEveryRedirectStatusIsFollowed) {
  for (int status = 300; status <= 308; ++status) {
    enqueue(redirectTo("https://vemloacct.blob.core.windows.net/else", status));
    enqueue(response(200, kEmptyPage));
    EXPECT_TRUE(makeClient()->listContainer({}).isSuccess()) << status;
    EXPECT_EQ(addresses().back(), "https://vemloacct.blob.core.windows.net/else");
  }
}

TEST_F(AzureRedirect, TargetStaysHttps) {
  EXPECT_EQ(targetOf("http://vemloacct.blob.core.windows.net/?comp=list&x=1"),
            "https://vemloacct.blob.core.windows.net/?comp=list&x=1");
  EXPECT_EQ(targetOf("//a.b.blob.core.windows.net/x"), "https://a.b.blob.core.windows.net/x");
}

TEST_F(AzureRedirect, TargetMayBeRelative) {
  EXPECT_EQ(targetOf("/else?comp=list"), "https://vemloacct.blob.core.windows.net/else?comp=list");
  EXPECT_EQ(targetOf("?comp=list&y"), "https://vemloacct.blob.core.windows.net/?comp=list&y");
}

TEST_F(AzureRedirect, TargetIsBelowTheSuffixOfTheCloud) {
  EXPECT_EQ(targetOf("https://b.blob.core.chinacloudapi.cn/", Region::China),
            "https://b.blob.core.chinacloudapi.cn/");
  EXPECT_EQ(targetOf("https://b.blob.core.usgovcloudapi.net/", Region::USGovernment),
            "https://b.blob.core.usgovcloudapi.net/");
}

TEST_F(AzureRedirect, ToAnyOtherTargetIsAFinalFailure) {
  for (const char* location :
       {"https://evil.test/", "https://vemloacct.blob.core.windows.net.evil.test/",
        "https://evilblob.core.windows.net/", "https://blob.core.windows.net/",
        "https://vemloacct.table.core.windows.net/",
        "https://vemloacct.blob.core.chinacloudapi.cn/", "//evil.test/",
        "ftp://vemloacct.blob.core.windows.net/", "https://127.0.0.1/",
        "https://u@vemloacct.blob.core.windows.net/", "", "https://"}) {
    enqueue(redirectTo(location));
    const auto outcome = makeClient()->listContainer({});
    ASSERT_FALSE(outcome.isSuccess()) << location;
    EXPECT_EQ(outcome.getError().errorType, CoreErrors::Redirected) << location;
    EXPECT_EQ(outcome.getError().httpResponseCode, 307) << location;
  }
  EXPECT_THAT(addresses(), Each(kFirst));
  EXPECT_THAT(addresses(), SizeIs(12));
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(AzureRedirect, WithoutALocationIsAFinalFailure) {
  enqueue(response(301));
  EXPECT_EQ(makeClient()->listContainer({}).getError().httpResponseCode, 301);
  EXPECT_THAT(addresses(), ElementsAre(kFirst));
}

TEST_F(AzureRedirect, HappensAtMostThreeTimesACall) {
  for (int i = 0; i < 4; ++i) enqueue(redirectTo("/" + std::to_string(i)));
  EXPECT_EQ(makeClient()->listContainer({}).getError().httpResponseCode, 307);
  EXPECT_THAT(addresses(), ElementsAre(kFirst, "https://vemloacct.blob.core.windows.net/0",
                                       "https://vemloacct.blob.core.windows.net/1",
                                       "https://vemloacct.blob.core.windows.net/2"));
}

TEST_F(AzureRedirect, AppliesToOneCall) {
  enqueue(redirectTo("/else"));
  enqueue(response(200, kEmptyPage));
  enqueue(response(200, kEmptyPage));
  const auto client = makeClient();
  EXPECT_TRUE(client->listContainer({}).isSuccess());
  EXPECT_TRUE(client->listContainer({}).isSuccess());
  EXPECT_THAT(addresses(),
              ElementsAre(kFirst, "https://vemloacct.blob.core.windows.net/else", kFirst));
}

}  // namespace
