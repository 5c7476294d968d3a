#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

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
using TestSupport::expectMalformedResponse;
using TestSupport::graphError;
using TestSupport::response;

constexpr char kRoot[] = "https://graph.microsoft.com/v1.0/me/drive/items/root";

constexpr char kWholeItem[] =
    R"({"@odata.context":"https://graph.microsoft.com/v1.0/$metadata#x","id":"9F3C!101",)"
    R"("name":"Caf\u00e9 \"1\"","eTag":"aOUY","cTag":"adDo","size":9223372036854775807,)"
    R"("createdDateTime":"2015-03-02T10:00:00Z","lastModifiedDateTime":"2024-02-28T10:11:12.34Z",)"
    R"("parentReference":{"driveType":"personal","driveId":"9f3c","id":"9F3C!100",)"
    R"("path":"/drive/root:","name":"root","shareId":"s!1","siteId":"no"},)"
    R"("folder":{"childCount":12,"view":{"viewType":"thumbnails"}},)"
    R"("file":{"mimeType":"text/plain","processingMetadata":true,)"
    R"("hashes":{"crc32Hash":"C","sha1Hash":"S","quickXorHash":"Q","sha256Hash":"no"}},)"
    R"("deleted":{"state":"softdeleted"},"root":{},)"
    R"("fileSystemInfo":{"createdDateTime":"2015-01-01T00:00:00Z",)"
    R"("lastModifiedDateTime":"2016-01-01T00:00:00.1234567Z","lastAccessedDateTime":"no"},)"
    R"("remoteItem":{"id":"77AA!9","name":"no","size":10,"webUrl":"no","folder":{"childCount":1},)"
    R"("file":{"mimeType":"image/png","hashes":{"sha1Hash":"R"}},)"
    R"("parentReference":{"driveId":"77aa","driveType":"personal"},)"
    R"("fileSystemInfo":{"createdDateTime":"2020-01-01T00:00:00Z",)"
    R"("lastModifiedDateTime":"2020-01-02T00:00:00Z"}},"webUrl":"https://1drv.test/x"})";

Model::GetDriveItemRequest itemCalled(const std::string& id) {
  Model::GetDriveItemRequest request;
  request.itemId = id;
  return request;
}

Model::CreateFolderRequest newFolder(const std::string& parent, const std::string& name) {
  Model::CreateFolderRequest request;
  request.parentItemId = parent;
  request.name = name;
  return request;
}

class OneDriveClientTest : public ::testing::Test, protected TestSupport::OneDriveFixture {
 protected:
  Outcome<Model::DriveItem, Error> readItem(const std::string& body) {
    enqueue(response(200, body, {{"content-type", "application/json"}}));
    return makeClient()->getDriveItem(itemCalled("root"));
  }

  // The item in a response that has `members` beside the id.
  Model::DriveItem itemWith(const std::string& members) {
    const auto outcome = readItem(R"({"id":"1",)" + members + "}");
    EXPECT_TRUE(outcome.isSuccess()) << members << ": " << outcome.getError().message;
    return outcome.getResult();
  }

  // The body of the request that creates the folder `name`.
  std::string bodyFor(const std::string& name) {
    enqueue(response(201, R"({"id":"2"})"));
    EXPECT_TRUE(makeClient()->createFolder(newFolder("root", name)).isSuccess());
    return requests().back().body;
  }
};

using OneDriveItem = OneDriveClientTest;

TEST_F(OneDriveItem, RequestIsExactlyThis) {
  EXPECT_TRUE(readItem(kWholeItem).isSuccess());
  ASSERT_THAT(requests(), SizeIs(1));
  const auto request = requests()[0];
  EXPECT_EQ(request.method, Http::Method::Get);
  EXPECT_EQ(request.uri.toString(), kRoot);
  EXPECT_EQ(request.body, "");
  EXPECT_THAT(request.headers, ElementsAre(Pair("accept", "application/json"),
                                           Pair("authorization", "Bearer token-1")));
}

TEST_F(OneDriveItem, IdsAreSingleSegments) {
  const auto client = makeClient();
  for (const char* id : {"9F3C6E5D1A2B4C3D!105", "a/../b?c#d%41 +", "..."}) {
    enqueue(response(200, R"({"id":"1"})"));
    EXPECT_TRUE(client->getDriveItem(itemCalled(id)).isSuccess());
  }
  auto request = itemCalled("root");
  request.driveId = "b!x/y";
  enqueue(response(200, R"({"id":"1"})"));
  EXPECT_TRUE(client->getDriveItem(request).isSuccess());
  EXPECT_THAT(
      addresses(),
      ElementsAre("https://graph.microsoft.com/v1.0/me/drive/items/9F3C6E5D1A2B4C3D%21105",
                  "https://graph.microsoft.com/v1.0/me/drive/items/a%2F..%2Fb%3Fc%23d%2541%20%2B",
                  "https://graph.microsoft.com/v1.0/me/drive/items/...",
                  "https://graph.microsoft.com/v1.0/drives/b%21x%2Fy/items/root"));
}

TEST_F(OneDriveItem, EveryMemberIsRead) {
  const auto outcome = readItem(kWholeItem);
  ASSERT_TRUE(outcome.isSuccess()) << outcome.getError().message;
  const auto& item = outcome.getResult();
  EXPECT_EQ(item.id, "9F3C!101");
  EXPECT_EQ(item.name, "Caf\u00e9 \"1\"");
  EXPECT_EQ(item.eTag, "aOUY");
  EXPECT_EQ(item.cTag, "adDo");
  EXPECT_EQ(item.createdDateTime.text(), "2015-03-02T10:00:00Z");
  EXPECT_EQ(item.lastModifiedDateTime.text(), "2024-02-28T10:11:12.34Z");
  EXPECT_EQ(item.size, 9223372036854775807);
  ASSERT_TRUE(item.parentReference && item.file && item.fileSystemInfo);
  EXPECT_EQ(item.parentReference->driveId, "9f3c");
  EXPECT_EQ(item.parentReference->id, "9F3C!100");
  EXPECT_EQ(item.parentReference->path, "/drive/root:");
  EXPECT_EQ(item.parentReference->name, "root");
  EXPECT_EQ(item.parentReference->shareId, "s!1");
  EXPECT_EQ(item.folder.childCount, 12);
  EXPECT_EQ(item.file->mimeType, "text/plain");
  EXPECT_EQ(item.file->hashes.crc32Hash, "C");
  EXPECT_EQ(item.file->hashes.sha1Hash, "S");
  EXPECT_EQ(item.file->hashes.quickXorHash, "Q");
  EXPECT_TRUE(item.file->processingMetadata);
  EXPECT_TRUE(item.deleted);
  EXPECT_TRUE(item.root);
  EXPECT_TRUE(item.isFolder);
  EXPECT_EQ(item.fileSystemInfo->createdDateTime.text(), "2015-01-01T00:00:00Z");
  EXPECT_EQ(item.fileSystemInfo->lastModifiedDateTime.text(), "2016-01-01T00:00:00.1234567Z");
}

TEST_F(OneDriveItem, EveryMemberOfTheRemoteItemIsRead) {
  const auto outcome = readItem(kWholeItem);
  ASSERT_TRUE(outcome.isSuccess());
  ASSERT_TRUE(outcome.getResult().remoteItem);
  const auto& remote = *outcome.getResult().remoteItem;
  EXPECT_EQ(remote.id, "77AA!9");
  EXPECT_EQ(remote.size, 10);
  EXPECT_EQ(remote.parentReference.driveId, "77aa");
  EXPECT_EQ(remote.parentReference.id, "");
  EXPECT_EQ(remote.folder.childCount, 1);
  EXPECT_EQ(remote.file.mimeType, "image/png");
  EXPECT_EQ(remote.file.hashes.sha1Hash, "R");
  EXPECT_TRUE(remote.isFolder);
  EXPECT_EQ(remote.fileSystemInfo.createdDateTime.text(), "2020-01-01T00:00:00Z");
  EXPECT_EQ(remote.fileSystemInfo.lastModifiedDateTime.text(), "2020-01-02T00:00:00Z");
}

TEST_F(OneDriveItem, MissingMembersAreEmpty) {
  const auto outcome = readItem(R"({"id":"1"})");
  ASSERT_TRUE(outcome.isSuccess());
  Model::DriveItem bare;
  bare.id = "1";
  EXPECT_EQ(outcome.getResult().toString(), bare.toString());
}

TEST_F(OneDriveItem, NullAndOtherTypesCountAsMissing) {
  const char* const members[] = {"name",
                                 "eTag",
                                 "cTag",
                                 "createdDateTime",
                                 "lastModifiedDateTime",
                                 "size",
                                 "parentReference",
                                 "folder",
                                 "file",
                                 "deleted",
                                 "root",
                                 "fileSystemInfo",
                                 "remoteItem"};
  Model::DriveItem bare;
  bare.id = "1";
  for (const char* member : members) {
    for (const char* value : {"null", "true", "[]", "[{}]", "1.5", "18446744073709551616"}) {
      const auto item = itemWith('"' + std::string(member) + "\":" + value);
      EXPECT_EQ(item.toString(), bare.toString()) << member << ' ' << value;
      EXPECT_FALSE(item.parentReference || item.file || item.fileSystemInfo || item.remoteItem)
          << member << ' ' << value;
    }
  }
}

TEST_F(OneDriveItem, FlagsAreMembersThatAreObjects) {
  for (const auto& [value, expected] :
       {std::pair("{}", true), std::pair(R"({"x":[{}]})", true), std::pair("null", false),
        std::pair("false", false), std::pair("true", false), std::pair("\"{}\"", false)}) {
    EXPECT_EQ(itemWith("\"deleted\":"s + value).deleted, expected) << value;
    EXPECT_EQ(itemWith("\"root\":"s + value).root, expected) << value;
    EXPECT_EQ(itemWith("\"folder\":"s + value).isFolder, expected) << value;
    EXPECT_EQ(itemWith("\"remoteItem\":"s + value).remoteItem != nullptr, expected) << value;
    EXPECT_EQ(itemWith("\"remoteItem\":{\"folder\":"s + value + "}").remoteItem->isFolder, expected)
        << value;
  }
}

TEST_F(OneDriveItem, NestedMembersOfTheSameNameAreNotTheItems) {
  const auto item =
      itemWith(R"("parentReference":{"id":"p","name":"p"},"x":{"name":"no","root":{},"id":"no"},)"
               R"("createdBy":{"user":{"id":"no","name":"no"}})");
  EXPECT_EQ(item.id, "1");
  EXPECT_EQ(item.name, "");
  EXPECT_FALSE(item.root);
}

TEST_F(OneDriveItem, LastOfDuplicateMembersCounts) {
  const auto item =
      itemWith(R"("name":"a","name":"b","folder":{},"folder":null,"id":"2",)"
               R"("remoteItem":{"id":"no"},"remoteItem":null,"file":{"mimeType":"no"},)"
               R"("file":{})");
  EXPECT_EQ(item.id, "2");
  EXPECT_EQ(item.name, "b");
  EXPECT_FALSE(item.isFolder);
  EXPECT_EQ(item.remoteItem, nullptr);
  ASSERT_TRUE(item.file);
  EXPECT_EQ(item.file->mimeType, "");
}

TEST_F(OneDriveItem, ByteOrderMarkIsSkipped) {
  EXPECT_TRUE(readItem("\xEF\xBB\xBF{\"id\":\"1\"}").isSuccess());
}

TEST_F(OneDriveItem, TextsLastAsLongAsTheItem) {
  Model::DriveItem kept;
  {
    const auto outcome = readItem(R"({"id":"longer than a short string would be"})");
    kept = outcome.getResult();
  }
  EXPECT_EQ(kept.id, "longer than a short string would be");
}

TEST_F(OneDriveItem, ResponseThatIsNoItemIsALocalFailure) {
  for (const std::string& body : {""s,
                                  " \n"s,
                                  "\xEF\xBB\xBF"s,
                                  "<html><body>Welcome</body></html>"s,
                                  "text"s,
                                  "null"s,
                                  "[]"s,
                                  R"([{"id":"1"}])"s,
                                  R"("id")"s,
                                  "{}"s,
                                  R"({"id":""})"s,
                                  R"({"id":null})"s,
                                  R"({"id":7})"s,
                                  R"({"item":{"id":"1"}})"s,
                                  R"({"id":"1")"s,
                                  R"({"id":"1)"s,
                                  R"({"id":"1"}})"s,
                                  R"({"id":"1"}{})"s,
                                  R"({"id":"1"} x)"s,
                                  R"({"id":"1","name":"x})"s,
                                  R"({"id":"1","folder":{"childCount":1})"s,
                                  R"({"id":"1\u0000"})"s,
                                  "{\"id\":\"1\xFF\"}"s,
                                  R"({"id":"1" "name":"b"})"s,
                                  R"({"id":"1","folder":{]})"s,
                                  R"({id:"1"})"s}) {
    const auto outcome = readItem(body);
    SCOPED_TRACE(body);
    expectMalformedResponse(outcome);
  }
  EXPECT_THAT(delays(), IsEmpty()) << "a retry cannot help";
}

TEST_F(OneDriveItem, DeepNestingIsRefused) {
  const std::string depths(100000, '[');
  EXPECT_FALSE(readItem(R"({"id":"1","folder":{"x":)" + depths + "}}").isSuccess());
  EXPECT_FALSE(readItem(R"({"id":"1","x":)" + depths + "}").isSuccess());
}

TEST_F(OneDriveItem, NothingIsSentForAnIdThatIsNoSegment) {
  const auto client = makeClient();
  for (const char* id : {"", ".", ".."}) {
    expectInvalidRequest(client->getDriveItem(itemCalled(id)));
    expectInvalidRequest(client->createFolder(newFolder(id, "x")));
    auto item = itemCalled("root");
    item.driveId = id;
    expectInvalidRequest(client->getDriveItem(item));
    Model::GetDriveMetadataRequest drive;
    drive.driveId = id;
    expectInvalidRequest(client->getDriveMetadata(drive));
  }
  expectInvalidRequest(client->getDriveItem({}));
  EXPECT_THAT(requests(), IsEmpty());
}

using OneDriveMetadata = OneDriveClientTest;

TEST_F(OneDriveMetadata, RequestIsExactlyThis) {
  enqueue(response(200, "{}"));
  enqueue(response(200, "{}"));
  EXPECT_TRUE(makeClient()->getDriveMetadata({}).isSuccess());
  Model::GetDriveMetadataRequest request;
  request.driveId = "9f3c!1";
  EXPECT_TRUE(makeClient()->getDriveMetadata(request).isSuccess());
  EXPECT_THAT(addresses(), ElementsAre("https://graph.microsoft.com/v1.0/me/drive",
                                       "https://graph.microsoft.com/v1.0/drives/9f3c%211"));
  EXPECT_EQ(requests()[0].method, Http::Method::Get);
  EXPECT_EQ(requests()[0].body, "");
}

TEST_F(OneDriveMetadata, IsRead) {
  enqueue(response(200,
                   R"({"id":"b!Vm9s","driveType":"business","name":"OneDrive","description":"",)"
                   R"("owner":{"user":{"id":"no","name":"no"}},"quota":{"total":1099511627776}})"));
  const auto outcome = makeClient()->getDriveMetadata({});
  ASSERT_TRUE(outcome.isSuccess()) << outcome.getError().message;
  EXPECT_EQ(outcome.getResult().id, "b!Vm9s");
  EXPECT_EQ(outcome.getResult().driveType, "business");
  EXPECT_EQ(outcome.getResult().name, "OneDrive");
}

TEST_F(OneDriveMetadata, TypeIsKeptAsReceived) {
  for (const auto& [body, type] :
       {std::pair(R"({"driveType":"Business"})", "Business"),
        std::pair(R"({"driveType":"documentLibrary"})", "documentLibrary"),
        std::pair(R"({"driveType":"business "})", "business "), std::pair("{}", ""),
        std::pair(R"({"driveType":null})", ""), std::pair(R"({"driveType":1})", "")}) {
    enqueue(response(200, body));
    const auto outcome = makeClient()->getDriveMetadata({});
    ASSERT_TRUE(outcome.isSuccess()) << body;
    EXPECT_EQ(outcome.getResult().driveType, type) << body;
  }
}

TEST_F(OneDriveMetadata, ResponseThatIsNoDriveIsALocalFailure) {
  for (const char* body : {"", "<html></html>", "[]", R"({"driveType":"business")", "{}x"}) {
    enqueue(response(200, body));
    const auto outcome = makeClient()->getDriveMetadata({});
    SCOPED_TRACE(body);
    expectMalformedResponse(outcome);
  }
}

using OneDriveCreateFolder = OneDriveClientTest;

TEST_F(OneDriveCreateFolder, RequestIsExactlyThis) {
  enqueue(response(201, kWholeItem));
  EXPECT_TRUE(makeClient()->createFolder(newFolder("9F3C!105", "New folder")).isSuccess());
  ASSERT_THAT(requests(), SizeIs(1));
  const auto request = requests()[0];
  EXPECT_EQ(request.method, Http::Method::Post);
  EXPECT_EQ(request.uri.toString(),
            "https://graph.microsoft.com/v1.0/me/drive/items/9F3C%21105/children");
  EXPECT_EQ(request.body, R"({"name":"New folder","folder":{},)"
                          R"("@microsoft.graph.conflictBehavior":"fail"})");
  EXPECT_THAT(request.headers, ElementsAre(Pair("accept", "application/json"),
                                           Pair("authorization", "Bearer token-1"),
                                           Pair("content-type", "application/json")));
}

TEST_F(OneDriveCreateFolder, MayBeInAnotherDrive) {
  auto request = newFolder("root", "x");
  request.driveId = "9f3c";
  enqueue(response(201, R"({"id":"1"})"));
  EXPECT_TRUE(makeClient()->createFolder(request).isSuccess());
  EXPECT_THAT(addresses(),
              ElementsAre("https://graph.microsoft.com/v1.0/drives/9f3c/items/root/children"));
}

TEST_F(OneDriveCreateFolder, NameIsEscaped) {
  const std::string rest = R"(","folder":{},"@microsoft.graph.conflictBehavior":"fail"})";
  EXPECT_EQ(bodyFor("a\"b\\c/\n\x01"), R"({"name":"a\"b\\c/\u000A\u0001)" + rest);
  EXPECT_EQ(bodyFor("\u65e5\u672c \U0001F600"), "{\"name\":\"\u65e5\u672c \U0001F600" + rest);
  EXPECT_EQ(bodyFor(""), R"({"name":")" + rest);
}

TEST_F(OneDriveCreateFolder, NameThatIsNoUtf8IsNotSent) {
  for (const char* name : {"\xFF", "a\xC3", "\xED\xA0\x80"}) {
    expectInvalidRequest(makeClient()->createFolder(newFolder("root", name)));
  }
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(OneDriveCreateFolder, EverySuccessStatusHasTheFolder) {
  for (const int status : {200, 201, 202, 299}) {
    enqueue(response(status, R"({"id":"9F3C!200","name":"As the service has it","folder":{}})"));
    const auto outcome = makeClient()->createFolder(newFolder("root", "x"));
    ASSERT_TRUE(outcome.isSuccess()) << status;
    EXPECT_EQ(outcome.getResult().id, "9F3C!200");
    EXPECT_EQ(outcome.getResult().name, "As the service has it");
    EXPECT_FALSE(outcome.getResult().root);
  }
}

TEST_F(OneDriveCreateFolder, ResponseWithoutAnIdIsALocalFailure) {
  for (const char* body : {"", "{}", R"({"name":"x"})", "<html></html>"}) {
    enqueue(response(201, body));
    const auto outcome = makeClient()->createFolder(newFolder("root", "x"));
    ASSERT_FALSE(outcome.isSuccess()) << body;
    EXPECT_EQ(outcome.getError().exceptionName, "MalformedResponse") << body;
  }
}

TEST_F(OneDriveCreateFolder, ServiceFailureIsNotRetried) {
  for (const int status : {409, 429, 500, 503, 507}) {
    enqueue(response(status, graphError("code")));
    const auto outcome = makeClient()->createFolder(newFolder("root", "x"));
    ASSERT_FALSE(outcome.isSuccess()) << status;
    EXPECT_EQ(outcome.getError().httpResponseCode, status);
    EXPECT_EQ(outcome.getError().exceptionName, "code");
    EXPECT_EQ(outcome.getError().message, "about code");
  }
  EXPECT_THAT(requests(), SizeIs(5));
  EXPECT_THAT(delays(), IsEmpty());
}

using OneDriveTokens = OneDriveClientTest;

TEST_F(OneDriveTokens, TokenIsRedactedInErrors) {
  credential->setTokens("a-long-access-token", "");
  enqueue(response(403, graphError("a-long-access-token")));
  const auto outcome = makeClient()->getDriveItem(itemCalled("root"));
  EXPECT_EQ(outcome.getError().exceptionName, "***");
  EXPECT_EQ(outcome.getError().message, "about ***");
}

TEST_F(OneDriveTokens, RedirectIsNotFollowed) {
  enqueue(response(302, "", {{"location", kRoot}}));
  EXPECT_EQ(makeClient()->getDriveItem(itemCalled("root")).getError().httpResponseCode, 302);
  EXPECT_THAT(requests(), SizeIs(1));
}

}  // namespace
