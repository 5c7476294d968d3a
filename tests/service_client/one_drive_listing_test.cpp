#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/expectations.h"
#include "support/one_drive_fixture.h"

namespace {

using namespace std::string_literals;
namespace Http = CloudStorage::Http;
namespace Model = CloudStorage::Client::OneDrive::Model;
using CloudStorage::Client::Error;
using CloudStorage::Util::Outcome;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using TestSupport::expectInvalidRequest;
using TestSupport::graphError;
using TestSupport::response;

constexpr char kChildren[] = "https://graph.microsoft.com/v1.0/me/drive/items/9F3C%21105/children";
constexpr char kSelect[] = "%24select=id%2Cname%2Croot%2Cfolder%2CremoteItem";
constexpr char kFolders[] = "folder ne null";
constexpr char kFoldersAndRemoteItems[] = "folder ne null or remoteItem ne null";
constexpr char kNextPage[] =
    "https://graph.microsoft.com/v1.0/me/drive/items/9F3C!105/children?$top=500"
    "&$filter=folder+ne+null&$skiptoken=UGFnZWQ9VFJVRS4uLg";
constexpr char kMixedPage[] =
    R"({"value":[{"id":"1","name":"folder","folder":{"childCount":0}},)"
    R"({"id":"2","name":"file"},{"id":"3","name":"shared","remoteItem":{"id":"9"}},)"
    R"({"id":"4","name":"both","folder":{},"remoteItem":{}},)"
    R"({"id":"5","name":"neither","folder":null,"remoteItem":null},)"
    R"({"id":"6","name":"odd","folder":true,"remoteItem":[]}],"@odata.nextLink":"https://x/"})";

// The request that the library makes.
Model::ListChildrenRequest pageOf(const std::string& id, const std::string& filter = kFolders,
                                  const std::string& pageToken = {}) {
  Model::ListChildrenRequest request;
  request.itemId = id;
  request.pageSize = 500;
  request.filter = filter;
  if (!pageToken.empty()) request.pageToken = pageToken;
  return request;
}

std::vector<std::string> namesOf(const Outcome<Model::ListChildrenResult, Error>& outcome) {
  if (!outcome.isSuccess()) return {"failed: " + outcome.getError().message};
  std::vector<std::string> names;
  for (const auto& item : outcome.getResult().items) names.emplace_back(item.name);
  return names;
}

class OneDriveListingTest : public ::testing::Test, protected TestSupport::OneDriveFixture {
 protected:
  Outcome<Model::ListChildrenResult, Error> list(const Model::ListChildrenRequest& request) {
    return makeClient()->listChildren(request);
  }

  // The address of `request` as it is sent.
  std::string addressOf(const Model::ListChildrenRequest& request) {
    enqueue(response(200, R"({"value":[]})"));
    EXPECT_TRUE(list(request).isSuccess());
    return addresses().back();
  }

  Outcome<Model::ListChildrenResult, Error> read(const std::string& body,
                                                 const std::string& filter = {}) {
    enqueue(response(200, body, {{"content-type", "application/json"}}));
    return list(pageOf("root", filter));
  }

  std::string nextTokenFrom(const std::string& link) {
    const auto outcome = read(R"({"value":[],"@odata.nextLink":)" + link + "}");
    EXPECT_TRUE(outcome.isSuccess()) << link;
    return outcome.getResult().nextToken;
  }
};

using OneDriveChildren = OneDriveListingTest;

TEST_F(OneDriveChildren, RequestIsExactlyThis) {
  EXPECT_EQ(addressOf(pageOf("9F3C!105", kFoldersAndRemoteItems)),
            kChildren + "?%24top=500&%24filter=folder%20ne%20null%20or%20remoteItem%20ne%20null&"s +
                kSelect);
  const auto request = requests().at(0);
  EXPECT_EQ(request.method, Http::Method::Get);
  EXPECT_EQ(request.body, "");
  EXPECT_THAT(request.headers, ElementsAre(Pair("accept", "application/json"),
                                           Pair("authorization", "Bearer token-1")));
}

TEST_F(OneDriveChildren, OnlyPresentParametersAreSent) {
  const std::string list = kChildren + "?"s;
  Model::ListChildrenRequest request;
  request.itemId = "9F3C!105";
  EXPECT_EQ(request.pageSize.value(), 1000);
  EXPECT_EQ(addressOf(request), list + kSelect);
  request.filter = "";
  request.pageToken = "";
  EXPECT_EQ(addressOf(request), list + kSelect) << "an empty text counts as absent";
  request.pageSize.markPresent();
  EXPECT_EQ(addressOf(request), list + "%24top=1000&" + kSelect);
  request.filter = "name eq 'a&b'";
  EXPECT_EQ(addressOf(request), list + "%24top=1000&%24filter=name%20eq%20%27a%26b%27&" + kSelect);
  request.pageToken = "UGFn+ZQ==/&";
  EXPECT_EQ(addressOf(request), list + "%24top=1000&%24filter=name%20eq%20%27a%26b%27&" + kSelect +
                                    "&%24skiptoken=UGFn%2BZQ%3D%3D%2F%26");
  request.driveId = "9f3c";
  EXPECT_EQ(addressOf(request),
            "https://graph.microsoft.com/v1.0/drives/9f3c/items/9F3C%21105/children?"
            "%24top=1000&%24filter=name%20eq%20%27a%26b%27&"s +
                kSelect + "&%24skiptoken=UGFn%2BZQ%3D%3D%2F%26");
}

TEST_F(OneDriveChildren, ValuesThatAreNotPresentAreIgnored) {
  using Text = CloudStorage::Util::Field<std::string>;
  Model::ListChildrenRequest request;
  request.itemId = "9F3C!105";
  request.pageToken = Text(kNextPage);
  request.filter = Text(kFolders);
  request.driveId = Text("9f3c");
  enqueue(response(200, kMixedPage));
  EXPECT_THAT(namesOf(list(request)), SizeIs(6));
  EXPECT_THAT(addresses(), ElementsAre(kChildren + "?"s + kSelect));
}

TEST_F(OneDriveChildren, NothingIsSentForAnIdThatIsNoSegment) {
  for (const char* id : {"", ".", ".."}) {
    auto inDrive = pageOf("root");
    inDrive.driveId = id;
    for (const auto& request : {pageOf(id), inDrive}) {
      const auto outcome = list(request);
      SCOPED_TRACE(id);
      expectInvalidRequest(outcome);
    }
  }
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(OneDriveChildren, AreReadInTheServicesOrder) {
  const auto outcome =
      read(R"({"@odata.context":"https://graph.microsoft.com/v1.0/$metadata#x","@odata.count":3,)"
           R"("value":[{"id":"9F3C!120","name":"zebra","folder":{"childCount":3}},)"
           R"({"@odata.etag":"no","name":"\u00c9t\u00e9","id":"9F3C!121","root":{},"size":7,)"
           R"("parentReference":{"driveId":"9f3c","id":"no"}},)"
           R"({"id":"9F3C!300","name":"Team","remoteItem":{"id":"77AA!9","name":"no","size":10,)"
           R"("folder":{"childCount":1},"parentReference":{"driveId":"77aa"}}}]})");
  ASSERT_TRUE(outcome.isSuccess()) << outcome.getError().message;
  const auto& items = outcome.getResult().items;
  ASSERT_THAT(items, SizeIs(3));
  EXPECT_EQ(items[0].id, "9F3C!120");
  EXPECT_EQ(items[0].name, "zebra");
  EXPECT_EQ(items[0].folder.childCount, 3);
  EXPECT_TRUE(items[0].isFolder);
  EXPECT_FALSE(items[0].root);
  EXPECT_EQ(items[1].id, "9F3C!121");
  EXPECT_EQ(items[1].name, "\u00c9t\u00e9");
  EXPECT_TRUE(items[1].root);
  EXPECT_FALSE(items[1].isFolder);
  EXPECT_EQ(items[2].id, "9F3C!300");
  ASSERT_TRUE(items[2].remoteItem);
  EXPECT_EQ(items[2].remoteItem->id, "77AA!9");
  EXPECT_EQ(items[2].remoteItem->parentReference.driveId, "77aa");
  EXPECT_EQ(outcome.getResult().nextToken, "");
}

TEST_F(OneDriveChildren, NamesAreReadByteForByte) {
  EXPECT_THAT(
      namesOf(read(R"({"value":[{"id":"1","name":" a&amp;b%41+ "},)"
                   R"({"id":"2","name":"\"\\\/\n\u0001\ud83d\ude00"},{"id":"3","name":"e\u0301"},)"
                   R"({"id":"4","name":""},{"id":"5","name":null},{"id":"6","name":7},)"
                   R"({"id":"7"},{}]})")),
      ElementsAre(" a&amp;b%41+ ", "\"\\/\n\x01\U0001F600", "e\u0301", "", "", "", ""));
}

TEST_F(OneDriveChildren, EmptyPageMayHaveANextPage) {
  for (const char* body : {R"({"value":[],"@odata.nextLink":"https://x/"})",
                           R"({"@odata.nextLink":"https://x/","value":[]})"}) {
    const auto outcome = read(body);
    ASSERT_TRUE(outcome.isSuccess()) << body;
    EXPECT_THAT(outcome.getResult().items, IsEmpty());
    EXPECT_EQ(outcome.getResult().nextToken, "https://x/");
  }
}

TEST_F(OneDriveChildren, FailuresAreFinal) {
  for (const int status : {403, 404, 429, 500, 503}) {
    enqueue(response(status, graphError("code"), {{"retry-after", "2.128"}}));
    const auto outcome = list(pageOf("root"));
    ASSERT_FALSE(outcome.isSuccess()) << status;
    EXPECT_EQ(outcome.getError().httpResponseCode, status);
    EXPECT_EQ(outcome.getError().message, "about code");
  }
  EXPECT_THAT(requests(), SizeIs(5));
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(OneDriveChildren, PageWithoutAListIsMalformed) {
  for (const char* body : {"{}", R"({"@odata.nextLink":"https://x/"})",
                           R"({"@odata.count":0,"value":null})", R"({"value":[],"value":null})"}) {
    SCOPED_TRACE(body);
    TestSupport::expectMalformedResponse(read(body));
  }
}

// The service chooses the size of the page.
TEST_F(OneDriveChildren, PageHasAtMost100000ItemsIfTheRequestHasNoPageSize) {
  std::string items = R"({"id":"1"})";
  for (int i = 1; i < 100000; ++i) items += ",{}";
  Model::ListChildrenRequest request;
  request.itemId = "root";
  enqueue(response(200, R"({"value":[)" + items + "]}"));
  EXPECT_THAT(list(request).getResult().items, SizeIs(1));
  enqueue(response(200, R"({"value":[)" + items + ",{}]}"));
  EXPECT_EQ(list(request).getError().exceptionName, "ResponseTooLarge");
}

using OneDrivePages = OneDriveListingTest;

TEST_F(OneDrivePages, LinkIsTheToken) {
  EXPECT_EQ(nextTokenFrom(R"("https:\/\/graph.microsoft.com/v1.0/x?$skiptoken=\u0041'+%2f")"),
            "https://graph.microsoft.com/v1.0/x?$skiptoken=A'+%2f");
  EXPECT_EQ(nextTokenFrom(R"("")"), "");
  EXPECT_EQ(nextTokenFrom("null"), "");
}

TEST_F(OneDrivePages, LinkIsRequestedByteForByte) {
  for (const std::string link :
       {kNextPage, "https://graph.microsoft.com/v1.0/drives('b!x')/items/1/children?$skip=500",
        "https://graph.microsoft.com/v1.0/a%2fb//c/../d?flag",
        "https://graph.microsoft.com/v1.0/x?count&$top=5&&$filter=a+ne+'b'&z=%2f%2F~()*!&=&",
        "https://graph.microsoft.com/v1.0/x"}) {
    EXPECT_EQ(addressOf(pageOf("9F3C!105", kFolders, link)), link);
    EXPECT_EQ(requests().back().headers.at("authorization"), "Bearer token-1");
  }
}

TEST_F(OneDrivePages, LinkNeedsNoItemId) {
  Model::ListChildrenRequest request;
  request.pageToken = kNextPage;
  EXPECT_EQ(addressOf(request), kNextPage);
}

TEST_F(OneDrivePages, HostIsComparedWithoutCaseAndWithItsPort) {
  EXPECT_EQ(addressOf(pageOf("1", kFolders, "HTTPS://Graph.Microsoft.com:443/v1.0/x?$skiptoken=A")),
            "https://graph.microsoft.com/v1.0/x?$skiptoken=A");
}

TEST_F(OneDrivePages, LinksToOtherAddressesAreRefused) {
  for (const char* link :
       {"https://graph.microsoft.com.example.test/v1.0/x", "https://example.test/v1.0/x",
        "https://example.test/?https://graph.microsoft.com/v1.0/x",
        "https://graph.microsoft.com@example.test/v1.0/x",
        "https://graph.microsoft.com:8443/v1.0/x", "https://graph.microsoft.com/beta/x",
        "https://graph.microsoft.com/v1.0", "https://graph.microsoft.com/v1.01/x",
        "https://graph.microsoft.com/", "https://graph.microsoft.com", "https://",
        "https://graph.microsoft.com/v1.0/a b", "https://graph.microsoft.com/v1.0/x\r\nHost: y",
        "https://graph.microsoft.com/v1.0/x#y", "https://127.0.0.1/v1.0/x"}) {
    SCOPED_TRACE(link);
    expectInvalidRequest(list(pageOf("root", kFolders, link)));
  }
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(OneDrivePages, LinksThatLeaveTheServiceByDotSegmentsAreRefused) {
  for (const char* path :
       {"/v1.0/../beta/x", "/v1.0/%2e%2e/beta/x", "/v1.0/%2E./beta/x", "/v1.0/.%2e/beta/x",
        "/v1.0/a/../../beta/x", "/v1.0/./../x", "/v1.0/..", "/v1.0/%2e%2e", "/v1.0/x/../..",
        "/../../beta/v1.0/x", "/v1.0/%2e/%2E%2e/v1.01/x"}) {
    SCOPED_TRACE(path);
    expectInvalidRequest(
        list(pageOf("root", kFolders, "https://graph.microsoft.com"s + path + "?$skip=1")));
  }
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(OneDrivePages, LinksThatStayInTheServiceDespiteDotSegmentsAreRequestedUnchanged) {
  for (const char* path : {"/v1.0/a/../b", "/v1.0/./b", "/v1.0/%2e%2E/v1.0/b", "/../v1.0/b",
                           "/v1.0/a/..", "/v1.0/...", "/v1.0/a%2e%2e/b", "/v1.0//../b"}) {
    const std::string link = "https://graph.microsoft.com"s + path + "?$skip=1";
    EXPECT_EQ(addressOf(pageOf("9F3C!105", kFolders, link)), link);
  }
}

TEST_F(OneDrivePages, TokenThatIsNoLinkIsAParameterWhateverItContains) {
  const std::string first = kChildren + "?%24top=500&%24filter=folder%20ne%20null&"s + kSelect;
  for (const auto& [token, encoded] :
       {std::pair("http://graph.microsoft.com/v1.0/x",
                  "http%3A%2F%2Fgraph.microsoft.com%2Fv1.0%2Fx"),
        std::pair("x://y", "x%3A%2F%2Fy"), std::pair("://", "%3A%2F%2F"),
        std::pair("/v1.0/me", "%2Fv1.0%2Fme"), std::pair(" https://x", "%20https%3A%2F%2Fx"),
        std::pair("https:/x", "https%3A%2Fx")}) {
    EXPECT_EQ(addressOf(pageOf("9F3C!105", kFolders, token)), first + "&%24skiptoken=" + encoded);
  }
}

TEST_F(OneDrivePages, LinkLeadsToTheNextPage) {
  enqueue(response(200, R"({"value":[{"id":"1","name":"a","folder":{}}],"@odata.nextLink":")"s +
                            kNextPage + R"("})"));
  enqueue(response(200, R"({"value":[{"id":"2","name":"b","folder":{}}]})"));
  const auto client = makeClient();
  auto request = pageOf("9F3C!105");
  const auto first = client->listChildren(request);
  ASSERT_TRUE(first.isSuccess());
  request.pageToken = first.getResult().nextToken;
  const auto second = client->listChildren(request);
  EXPECT_THAT(namesOf(first), ElementsAre("a"));
  EXPECT_THAT(namesOf(second), ElementsAre("b"));
  EXPECT_EQ(second.getResult().nextToken, "");
  EXPECT_THAT(
      addresses(),
      ElementsAre(kChildren + "?%24top=500&%24filter=folder%20ne%20null&"s + kSelect, kNextPage));
}

TEST_F(OneDrivePages, LinkIsRetriedWithANewToken) {
  enqueue(response(401, graphError("InvalidAuthenticationToken")));
  enqueue(response(200, R"({"access_token":"token-2"})"));
  enqueue(response(200, R"({"value":[]})"));
  EXPECT_TRUE(list(pageOf("root", kFolders, kNextPage)).isSuccess());
  EXPECT_THAT(addresses(), ElementsAre(kNextPage, "https://login.example.test/token", kNextPage));
  EXPECT_EQ(requests()[2].headers.at("authorization"), "Bearer token-2");
}

using OneDriveFilter = OneDriveListingTest;

TEST_F(OneDriveFilter, ResponseIsFilteredIfTheServiceDoesNotFilter) {
  EXPECT_THAT(namesOf(read(kMixedPage, kFolders)), ElementsAre("folder", "both"));
  EXPECT_THAT(namesOf(read(kMixedPage, kFoldersAndRemoteItems)),
              ElementsAre("folder", "shared", "both"));
}

TEST_F(OneDriveFilter, LaterPagesAreFiltered) {
  enqueue(response(200, kMixedPage));
  EXPECT_THAT(namesOf(list(pageOf("root", kFolders, kNextPage))), ElementsAre("folder", "both"));
  enqueue(response(200, kMixedPage));
  EXPECT_THAT(namesOf(list(pageOf("root", kFoldersAndRemoteItems, kNextPage))),
              ElementsAre("folder", "shared", "both"));
}

TEST_F(OneDriveFilter, OtherFiltersAreNotApplied) {
  for (const char* filter : {"", "Folder ne null", "folder ne null ", "name eq 'x'"}) {
    EXPECT_THAT(namesOf(read(kMixedPage, filter)), SizeIs(6)) << filter;
  }
}

TEST_F(OneDriveFilter, IsOmittedIfRefused) {
  for (const auto& [status, code] :
       {std::pair(400, "notSupported"), std::pair(400, "invalidRequest"),
        std::pair(400, "BadRequest"), std::pair(501, "notSupported"),
        std::pair(501, "invalidRequest"), std::pair(501, "BadRequest")}) {
    const auto before = addresses().size();
    enqueue(response(status, graphError(code)));
    enqueue(response(200, kMixedPage));
    EXPECT_THAT(namesOf(list(pageOf("9F3C!105"))), ElementsAre("folder", "both")) << code;
    const auto addresses = AttemptFixture::addresses();
    ASSERT_THAT(addresses, SizeIs(before + 2)) << status << code;
    EXPECT_EQ(addresses[before],
              kChildren + "?%24top=500&%24filter=folder%20ne%20null&"s + kSelect);
    EXPECT_EQ(addresses[before + 1], kChildren + "?%24top=500&"s + kSelect);
  }
  EXPECT_THAT(delays(), IsEmpty()) << "it does not count as an attempt";
}

TEST_F(OneDriveFilter, IsOmittedBesideAForeignToken) {
  enqueue(response(400, graphError("notSupported")));
  enqueue(response(200, kMixedPage));
  EXPECT_THAT(namesOf(list(pageOf("9F3C!105", kFoldersAndRemoteItems, "token"))),
              ElementsAre("folder", "shared", "both"));
  EXPECT_EQ(addresses().back(), kChildren + "?%24top=500&"s + kSelect + "&%24skiptoken=token");
}

TEST_F(OneDriveFilter, IsOmittedOnce) {
  for (int time = 0; time < 2; ++time) enqueue(response(400, graphError("notSupported")));
  enqueue(response(200, kMixedPage));
  const auto outcome = list(pageOf("root"));
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().exceptionName, "notSupported");
  EXPECT_EQ(transport->unusedResponses(), 1U);
}

TEST_F(OneDriveFilter, StaysOmittedWhenTheTokenIsRefreshed) {
  enqueue(response(400, graphError("notSupported")));
  enqueue(response(401, graphError("InvalidAuthenticationToken")));
  enqueue(response(200, R"({"access_token":"token-2"})"));
  enqueue(response(200, kMixedPage));
  EXPECT_THAT(namesOf(list(pageOf("9F3C!105"))), ElementsAre("folder", "both"));
  const std::string unfiltered = kChildren + "?%24top=500&"s + kSelect;
  EXPECT_THAT(addresses(),
              ElementsAre(kChildren + "?%24top=500&%24filter=folder%20ne%20null&"s + kSelect,
                          unfiltered, "https://login.example.test/token", unfiltered));
  EXPECT_THAT(delays(), ElementsAre(1000));
}

TEST_F(OneDriveFilter, IsNotOmittedAfterOtherFailures) {
  for (const auto& [status, code] :
       {std::pair(400, "invalidRange"), std::pair(400, "notsupported"), std::pair(400, ""),
        std::pair(403, "notSupported"), std::pair(404, "invalidRequest"),
        std::pair(500, "BadRequest"), std::pair(503, "notSupported")}) {
    enqueue(response(status, graphError(code)));
    EXPECT_FALSE(list(pageOf("root")).isSuccess()) << status << code;
  }
  EXPECT_THAT(requests(), SizeIs(7));
}

TEST_F(OneDriveFilter, IsNotRemovedFromALink) {
  enqueue(response(400, graphError("notSupported")));
  EXPECT_FALSE(list(pageOf("root", kFolders, kNextPage)).isSuccess());
  EXPECT_THAT(addresses(), ElementsAre(kNextPage));
}

TEST_F(OneDriveFilter, OtherFiltersAreNotOmitted) {
  for (const char* filter : {"", "name eq 'x'"}) {
    enqueue(response(400, graphError("notSupported")));
    EXPECT_FALSE(list(pageOf("root", filter)).isSuccess()) << filter;
  }
  auto absent = pageOf("root");
  absent.filter = CloudStorage::Util::Field<std::string>(kFolders);
  enqueue(response(400, graphError("notSupported")));
  EXPECT_FALSE(list(absent).isSuccess());
  EXPECT_THAT(requests(), SizeIs(3));
}

TEST_F(OneDriveFilter, FilteringOfTheResponseCanBeSwitchedOff) {
  auto request = pageOf("root");
  request.filtersResponses = false;
  enqueue(response(200, kMixedPage));
  EXPECT_THAT(namesOf(list(request)), SizeIs(6));
  enqueue(response(400, graphError("notSupported")));
  EXPECT_FALSE(list(request).isSuccess());
  EXPECT_THAT(requests(), SizeIs(2));
}

}  // namespace
