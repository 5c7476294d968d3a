#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/one_drive_fixture.h"

namespace {

using namespace std::string_literals;
namespace Http = CloudStorage::Http;
namespace Model = CloudStorage::Client::OneDrive::Model;
using CloudStorage::Client::Error;
using CloudStorage::Util::Outcome;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::graphError;
using TestSupport::response;

constexpr char kDrive[] = "GET https://graph.microsoft.com/v1.0/me/drive/items/";
constexpr char kOtherDrive[] = "GET https://graph.microsoft.com/v1.0/drives/";
constexpr char kItemFields[] = "?%24select=id%2CremoteItem";
const std::string kQuery =
    "/children?%24top=500&%24filter=folder%20ne%20null%20or%20remoteItem%20ne%20null"
    "&%24select=id%2Cname%2Croot%2Cfolder%2CremoteItem";
const std::string kQueryWithoutFilter =
    "/children?%24top=500&%24select=id%2Cname%2Croot%2Cfolder%2CremoteItem";

// The user's drive is 9F3C; the folder Team in it refers to 77AA!9 in the drive 77aa.
constexpr char kRootPage[] =
    R"({"value":[{"id":"9F3C!120","name":"Own","folder":{"childCount":3}},)"
    R"({"id":"9F3C!300","name":"Team","remoteItem":{"id":"77AA!9","folder":{},)"
    R"("parentReference":{"driveId":"77aa"}}}]})";
constexpr char kTeamPage[] = R"({"value":[{"id":"77AA!10","name":"Minutes","folder":{}}]})";
constexpr char kTeamItem[] =
    R"({"id":"9F3C!300","remoteItem":{"id":"77AA!9","parentReference":{"driveId":"77aa"}}})";
constexpr char kOwnItem[] = R"({"id":"9F3C!300"})";
constexpr char kNextPage[] =
    "https://graph.microsoft.com/v1.0/drives/77aa/items/77AA!9/children?$skiptoken=A";

constexpr char kNoItems[] = R"({"value":[]})";

Model::ListChildrenRequest folder(const std::string& id, const std::string& pageToken = {}) {
  Model::ListChildrenRequest request;
  request.itemId = id;
  request.pageSize = 500;
  request.filter = "folder ne null or remoteItem ne null";
  if (!pageToken.empty()) request.pageToken = pageToken;
  return request;
}

Model::CreateFolderRequest newFolder(const std::string& parent) {
  Model::CreateFolderRequest request;
  request.parentItemId = parent;
  request.name = "New";
  return request;
}

class OneDriveSharedFolders : public ::testing::Test, protected TestSupport::OneDriveFixture {
 protected:
  void respond(int status, const std::string& body) { enqueue(response(status, body)); }
  void refuse(int status, const std::string& code) { respond(status, graphError(code)); }

  // The response `body` to a listing of the folder `id`, which must succeed.
  void show(const std::string& id, const std::string& body, const std::string& pageToken = {}) {
    respond(200, body);
    const auto outcome = client->listChildren(folder(id, pageToken));
    EXPECT_TRUE(outcome.isSuccess()) << id << ": " << outcome.getError().message;
    forget();
  }

  // Leaves out the requests so far.
  void forget() { seen_ = lines().size(); }
  std::vector<std::string> newLines() const {
    const auto all = lines();
    return {all.begin() + static_cast<std::ptrdiff_t>(seen_), all.end()};
  }

  const std::shared_ptr<CloudStorage::Client::OneDrive::OneDriveClient> client = makeClient();

 private:
  std::size_t seen_ = 0;
};

TEST_F(OneDriveSharedFolders, ListedFolderIsOpenedInItsDrive) {
  show("root", kRootPage);
  respond(200, kTeamPage);
  const auto outcome = client->listChildren(folder("9F3C!300"));
  ASSERT_TRUE(outcome.isSuccess());
  EXPECT_EQ(outcome.getResult().items.at(0).name, "Minutes");
  EXPECT_THAT(newLines(), ElementsAre(kOtherDrive + "77aa/items/77AA%219"s + kQuery));
}

TEST_F(OneDriveSharedFolders, FoldersBelowAreOpenedInTheirDrive) {
  show("root", kRootPage);
  show("9F3C!300", kTeamPage);
  show("77AA!10", R"({"value":[{"id":"odd id","name":"2024","folder":{}}]})");
  respond(200, kNoItems);
  EXPECT_TRUE(client->listChildren(folder("odd id")).isSuccess());
  EXPECT_THAT(newLines(), ElementsAre(kOtherDrive + "77aa/items/odd%20id"s + kQuery));
}

TEST_F(OneDriveSharedFolders, FoldersOnLaterPagesAreOpenedInTheirDrive) {
  show("root", kRootPage);
  show("9F3C!300", R"({"value":[],"@odata.nextLink":")"s + kNextPage + R"("})");
  show("9F3C!300", kTeamPage, kNextPage);
  respond(200, kNoItems);
  EXPECT_TRUE(client->listChildren(folder("77AA!10")).isSuccess());
  EXPECT_THAT(newLines(), ElementsAre(kOtherDrive + "77aa/items/77AA%2110"s + kQuery));
}

TEST_F(OneDriveSharedFolders, ReferenceInsideASharedFolderLeadsToAThirdDrive) {
  show("root", kRootPage);
  show("9F3C!300", R"({"value":[{"id":"77AA!11","name":"x","remoteItem":{"id":"01ITEM",)"
                   R"("parentReference":{"driveId":"b!third"}}}]})");
  respond(200, kNoItems);
  EXPECT_TRUE(client->listChildren(folder("77AA!11")).isSuccess());
  EXPECT_THAT(newLines(), ElementsAre(kOtherDrive + "b%21third/items/01ITEM"s + kQuery));
}

TEST_F(OneDriveSharedFolders, OrdinaryFoldersStayInTheUsersDrive) {
  show("root", kRootPage);
  respond(200, kNoItems);
  EXPECT_TRUE(client->listChildren(folder("9F3C!120")).isSuccess());
  EXPECT_THAT(newLines(), ElementsAre(kDrive + "9F3C%21120"s + kQuery));
}

TEST_F(OneDriveSharedFolders, ClientsRememberForThemselves) {
  show("root", kRootPage);
  respond(200, kNoItems);
  EXPECT_TRUE(makeClient()->listChildren(folder("9F3C!300")).isSuccess());
  EXPECT_THAT(newLines(), ElementsAre(kDrive + "9F3C%21300"s + kQuery));
}

TEST_F(OneDriveSharedFolders, StatedDriveIsTheOnlyOneAsked) {
  show("root", kRootPage);
  auto request = folder("9F3C!300");
  request.driveId = "9f3c";
  refuse(404, "itemNotFound");
  EXPECT_FALSE(client->listChildren(request).isSuccess());
  EXPECT_THAT(newLines(), ElementsAre(kOtherDrive + "9f3c/items/9F3C%21300"s + kQuery));
}

TEST_F(OneDriveSharedFolders, IncompleteReferenceIsNotRemembered) {
  for (const char* remote :
       {"{}", R"({"id":"77AA!9"})", R"({"parentReference":{"driveId":"77aa"}})",
        R"({"id":"..","parentReference":{"driveId":"77aa"}})",
        R"({"id":"77AA!9","parentReference":{"driveId":"."}})"}) {
    show("root", R"({"value":[{"id":"9F3C!300","remoteItem":)"s + remote + "}]}");
    show("9F3C!300", kNoItems);
    EXPECT_EQ(lines().back(), kDrive + "9F3C%21300"s + kQuery) << remote;
  }
}

TEST_F(OneDriveSharedFolders, UnknownFolderIsFoundThroughItsItem) {
  for (const auto& [status, code] :
       {std::pair(404, "itemNotFound"), std::pair(400, "invalidRequest")}) {
    const auto fresh = makeClient();
    forget();
    auto request = folder("9F3C!300");
    request.filtersResponses = false;  // so that the filter is no cause of the refusal
    refuse(status, code);
    respond(200, kTeamItem);
    respond(200, kTeamPage);
    EXPECT_TRUE(fresh->listChildren(request).isSuccess()) << code;
    EXPECT_THAT(newLines(),
                ElementsAre(kDrive + "9F3C%21300"s + kQuery, kDrive + "9F3C%21300"s + kItemFields,
                            kOtherDrive + "77aa/items/77AA%219"s + kQuery));
  }
  EXPECT_THAT(delays(), IsEmpty()) << "all of it is one attempt";
  EXPECT_THAT(headers("authorization"), ::testing::Each("Bearer token-1"));
}

TEST_F(OneDriveSharedFolders, FoundFolderIsRemembered) {
  refuse(404, "itemNotFound");
  respond(200, kTeamItem);
  respond(200, kTeamPage);
  EXPECT_TRUE(client->listChildren(folder("9F3C!300")).isSuccess());
  forget();
  show("9F3C!300", kNoItems);
  EXPECT_EQ(lines().back(), kOtherDrive + "77aa/items/77AA%219"s + kQuery);
  show("77AA!10", kNoItems);
  EXPECT_EQ(lines().back(), kOtherDrive + "77aa/items/77AA%2110"s + kQuery);
}

TEST_F(OneDriveSharedFolders, UnknownFolderIsFoundInTheDriveThatItsIdNames) {
  refuse(404, "itemNotFound");
  refuse(404, "itemNotFound");
  respond(200, kTeamPage);
  EXPECT_TRUE(client->listChildren(folder("77AA!9")).isSuccess());
  EXPECT_THAT(newLines(),
              ElementsAre(kDrive + "77AA%219"s + kQuery, kDrive + "77AA%219"s + kItemFields,
                          kOtherDrive + "77AA/items/77AA%219"s + kQuery));
  show("77AA!10", kNoItems);
  EXPECT_EQ(lines().back(), kOtherDrive + "77AA/items/77AA%2110"s + kQuery);
}

TEST_F(OneDriveSharedFolders, DriveInTheIdIsTriedAfterTheReference) {
  refuse(404, "itemNotFound");
  respond(200, kTeamItem);
  refuse(404, "itemNotFound");
  respond(200, kTeamPage);
  EXPECT_TRUE(client->listChildren(folder("9F3C!300")).isSuccess());
  EXPECT_THAT(newLines(),
              ElementsAre(kDrive + "9F3C%21300"s + kQuery, kDrive + "9F3C%21300"s + kItemFields,
                          kOtherDrive + "77aa/items/77AA%219"s + kQuery,
                          kOtherDrive + "9F3C/items/9F3C%21300"s + kQuery));
}

TEST_F(OneDriveSharedFolders, OtherIdsNameNoDrive) {
  for (const char* id : {"01VEMLO", "b!x", "!5", "77AA!", "77AA!9!9", "77-AA!9", "77AA!9a"}) {
    forget();
    refuse(404, "itemNotFound");
    refuse(404, "itemNotFound");
    EXPECT_FALSE(client->listChildren(folder(id)).isSuccess());
    EXPECT_THAT(newLines(), SizeIs(2)) << id;
  }
}

TEST_F(OneDriveSharedFolders, ErrorIsThatOfTheFirstRequest) {
  for (const int laterStatus : {400, 403, 404}) {
    forget();
    respond(404, R"({"error":{"code":"itemNotFound","message":"the first"}})");
    respond(200, kTeamItem);
    refuse(laterStatus, laterStatus == 400 ? "invalidRequest" : "itemNotFound");
    if (laterStatus == 400 || laterStatus == 404) refuse(403, "accessDenied");
    const auto outcome = client->listChildren(folder("9F3C!300"));
    ASSERT_FALSE(outcome.isSuccess());
    EXPECT_EQ(outcome.getError().httpResponseCode, 404) << laterStatus;
    EXPECT_EQ(outcome.getError().message, "the first") << laterStatus;
    EXPECT_EQ(transport->unusedResponses(), 0U) << laterStatus;
  }
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(OneDriveSharedFolders, UnusableItemLeadsNowhere) {
  for (const char* item :
       {"", kOwnItem, "<html></html>", R"({"remoteItem":null})", R"({"remoteItem":{"id":"x"}})",
        R"({"remoteItem":{"id":"x","parentReference":{"driveId":".."}}})"}) {
    forget();
    refuse(404, "itemNotFound");
    respond(200, item);
    EXPECT_EQ(client->listChildren(folder("01ITEM")).getError().exceptionName, "itemNotFound");
    EXPECT_THAT(newLines(), SizeIs(2)) << item;
  }
}

TEST_F(OneDriveSharedFolders, OtherFailuresAreFinal) {
  for (const auto& [status, code] :
       {std::pair(404, "ResourceNotFound"), std::pair(403, "itemNotFound"),
        std::pair(400, "invalidRange"), std::pair(500, "itemNotFound"), std::pair(409, "")}) {
    forget();
    refuse(status, code);
    EXPECT_FALSE(client->listChildren(folder("77AA!9")).isSuccess());
    EXPECT_THAT(newLines(), SizeIs(1)) << status << code;
  }
}

TEST_F(OneDriveSharedFolders, FilterIsLeftOutBeforeOtherDrivesAreTried) {
  refuse(400, "invalidRequest");
  refuse(404, "itemNotFound");
  respond(200, kTeamItem);
  respond(200, kTeamPage);
  EXPECT_TRUE(client->listChildren(folder("9F3C!300")).isSuccess());
  EXPECT_THAT(newLines(), ElementsAre(kDrive + "9F3C%21300"s + kQuery,
                                      kDrive + "9F3C%21300"s + kQueryWithoutFilter,
                                      kDrive + "9F3C%21300"s + kItemFields,
                                      kOtherDrive + "77aa/items/77AA%219"s + kQueryWithoutFilter));
}

TEST_F(OneDriveSharedFolders, FilterIsLeftOutInTheOtherDrive) {
  refuse(404, "itemNotFound");
  respond(200, kTeamItem);
  refuse(400, "notSupported");
  refuse(404, "itemNotFound");
  respond(200, kTeamPage);
  EXPECT_TRUE(client->listChildren(folder("9F3C!300")).isSuccess());
  EXPECT_THAT(newLines(),
              ElementsAre(kDrive + "9F3C%21300"s + kQuery, kDrive + "9F3C%21300"s + kItemFields,
                          kOtherDrive + "77aa/items/77AA%219"s + kQuery,
                          kOtherDrive + "77aa/items/77AA%219"s + kQueryWithoutFilter,
                          kOtherDrive + "9F3C/items/9F3C%21300"s + kQueryWithoutFilter));
}

TEST_F(OneDriveSharedFolders, TokenIsRefreshedInTheOtherDrive) {
  refuse(404, "itemNotFound");
  respond(200, kTeamItem);
  refuse(401, "InvalidAuthenticationToken");
  respond(200, R"({"access_token":"token-2"})");
  respond(200, kTeamPage);
  EXPECT_TRUE(client->listChildren(folder("9F3C!300")).isSuccess());
  EXPECT_EQ(lines().back(), kOtherDrive + "77aa/items/77AA%219"s + kQuery);
  EXPECT_THAT(delays(), ElementsAre(1000));
}

TEST_F(OneDriveSharedFolders, LinkToAPageIsNotLookedForElsewhere) {
  refuse(404, "itemNotFound");
  EXPECT_FALSE(client->listChildren(folder("77AA!9", kNextPage)).isSuccess());
  EXPECT_THAT(lines(), ElementsAre("GET "s + kNextPage));
}

TEST_F(OneDriveSharedFolders, FolderIsCreatedInTheOtherDrive) {
  show("root", kRootPage);
  respond(201, R"({"id":"77AA!12","name":"New","folder":{}})");
  EXPECT_TRUE(client->createFolder(newFolder("9F3C!300")).isSuccess());
  EXPECT_THAT(newLines(), ElementsAre("POST https://graph.microsoft.com/v1.0/drives/77aa/items/"
                                      "77AA%219/children"));
  show("77AA!12", kNoItems);
  EXPECT_EQ(lines().back(), kOtherDrive + "77aa/items/77AA%2112"s + kQuery);
}

TEST_F(OneDriveSharedFolders, CreationIsRepeatedOnlyAfterARefusal) {
  refuse(404, "itemNotFound");
  respond(200, kTeamItem);
  respond(201, R"({"id":"77AA!12","name":"New","folder":{}})");
  EXPECT_TRUE(client->createFolder(newFolder("9F3C!300")).isSuccess());
  const std::string body = bodies().front();
  EXPECT_THAT(
      lines(),
      ElementsAre("POST https://graph.microsoft.com/v1.0/me/drive/items/9F3C%21300/children",
                  kDrive + "9F3C%21300"s + kItemFields,
                  "POST https://graph.microsoft.com/v1.0/drives/77aa/items/77AA%219/children"));
  EXPECT_THAT(bodies(), ElementsAre(body, "", body));

  for (const int status : {403, 409, 500, 503}) {
    forget();
    refuse(status, "itemNotFound");
    EXPECT_FALSE(client->createFolder(newFolder("77AA!7")).isSuccess());
    EXPECT_THAT(newLines(), SizeIs(1)) << status;
  }
}

TEST_F(OneDriveSharedFolders, CreationFailsWithTheFirstError) {
  respond(400, R"({"error":{"code":"invalidRequest","message":"the first"}})");
  respond(200, kOwnItem);
  refuse(403, "accessDenied");
  const auto outcome = client->createFolder(newFolder("9F3C!300"));
  EXPECT_EQ(outcome.getError().message, "the first");
  EXPECT_EQ(lines().back(),
            "POST https://graph.microsoft.com/v1.0/drives/9F3C/items/9F3C%21300/children");
}

TEST_F(OneDriveSharedFolders, OtherFailuresOfTheOtherDriveAreReported) {
  for (const int status : {409, 423, 429, 503, 507}) {
    forget();
    refuse(404, "itemNotFound");
    respond(200, kTeamItem);
    refuse(status, "reason");
    const auto outcome = client->createFolder(newFolder("9F3C!300"));
    EXPECT_EQ(outcome.getError().httpResponseCode, status);
    EXPECT_EQ(outcome.getError().exceptionName, "reason");
  }
}

TEST_F(OneDriveSharedFolders, ItemsBelowAreReadFromTheirDriveAndReferencesFromTheUsers) {
  show("root", kRootPage);
  show("9F3C!300", kTeamPage);
  for (const char* id : {"77AA!10", "9F3C!300", "root"}) {
    respond(200, R"({"id":"1"})");
    Model::GetDriveItemRequest request;
    request.itemId = id;
    EXPECT_TRUE(client->getDriveItem(request).isSuccess());
  }
  EXPECT_THAT(newLines(), ElementsAre(kOtherDrive + "77aa/items/77AA%2110"s, kDrive + "9F3C%21300"s,
                                      kDrive + "root"s));
}

TEST_F(OneDriveSharedFolders, ManyThreadsShareWhatIsRemembered) {
  show("root", kRootPage);
  std::vector<std::thread> threads;
  constexpr int kThreads = 8;
  for (int count = 0; count < kThreads * 10; ++count) respond(200, kTeamPage);
  threads.reserve(kThreads);
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([this] {
      for (int count = 0; count < 10; ++count) {
        EXPECT_TRUE(client->listChildren(folder("9F3C!300")).isSuccess());
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_THAT(newLines(), ::testing::Each(kOtherDrive + "77aa/items/77AA%219"s + kQuery));
}

}  // namespace
