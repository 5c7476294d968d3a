#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/amazon_drive_fixture.h"
#include "support/expectations.h"

namespace {

namespace Model = CloudStorage::Client::AmazonDrive::Model;
using CloudStorage::Client::Error;
using CloudStorage::Util::Outcome;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using TestSupport::expectMalformedResponse;
using TestSupport::kMetadataEndpoint;
using TestSupport::response;

constexpr char kQuery[] = "GET https://cdws.us-east-1.amazonaws.com/drive/v1/nodes?";
constexpr char kNode[] =
    R"({"eTagResponse":"etag1","id":"nodeid1","name":"2019","kind":"FOLDER","version":3,)"
    R"("labels":[],"createdDate":"2015-03-02T10:00:00.000Z",)"
    R"("modifiedDate":"2016-03-02T10:00:00.250Z","createdBy":"ClientId","isShared":false,)"
    R"("parents":["rootid","other"],"status":"AVAILABLE","restricted":false})";

Model::ListFileResourceRequest query() {
  Model::ListFileResourceRequest request;
  request.endpoint = kMetadataEndpoint;
  return request;
}

std::vector<std::string> idsOf(const Model::ListFileResourceResult& result) {
  std::vector<std::string> ids;
  for (const auto& file : result.files) ids.emplace_back(file.id);
  return ids;
}

class AmazonDriveListing : public ::testing::Test, protected TestSupport::AmazonDriveFixture {
 protected:
  // Method and address of `request` as it is sent.
  std::string lineOf(const Model::ListFileResourceRequest& request) {
    enqueue(response(200, R"({"count":0,"data":[]})"));
    EXPECT_TRUE(makeClient()->listFileResource(request).isSuccess());
    return lines().back();
  }

  Outcome<Model::ListFileResourceResult, Error> read(const std::string& body) {
    enqueue(response(200, body));
    return makeClient()->listFileResource(query());
  }

  // The only node of a page.
  Model::FileResource nodeFrom(const std::string& node) {
    const auto outcome = read(R"({"data":[)" + node + "]}");
    EXPECT_TRUE(outcome.isSuccess()) << node << ' ' << outcome.getError();
    EXPECT_THAT(outcome.getResult().files, SizeIs(1)) << node;
    kept.push_back(outcome.getResult());
    return kept.back().files.empty() ? Model::FileResource() : kept.back().files.front();
  }

  std::vector<Model::ListFileResourceResult> kept;
};

TEST_F(AmazonDriveListing, RequestIsExactlyThis) {
  auto request = query();
  request.filters = R"(kind:FOLDER AND status:AVAILABLE AND parents:"ID")";
  request.sort = "[kind,name]";
  request.limit = 100;
  EXPECT_EQ(lineOf(request),
            std::string(kQuery) +
                "filters=kind%3AFOLDER%20AND%20status%3AAVAILABLE%20AND%20parents%3A%22ID%22"
                "&sort=%5Bkind%2Cname%5D&limit=100");
  EXPECT_THAT(bodies(), ElementsAre(""));
  EXPECT_THAT(requests().at(0).headers, ElementsAre(Pair("accept", "application/json"),
                                                    Pair("authorization", "Bearer token-1")));
}

TEST_F(AmazonDriveListing, OnlyTheLimitIsSentUnlessSet) {
  EXPECT_EQ(lineOf(query()), std::string(kQuery) + "limit=200");
  auto request = query();
  request.filters = "kind:FOLDER AND isRoot:true";
  EXPECT_EQ(lineOf(request),
            std::string(kQuery) + "filters=kind%3AFOLDER%20AND%20isRoot%3Atrue&limit=200");
  request = query();
  request.sort = "[name]";
  EXPECT_EQ(lineOf(request), std::string(kQuery) + "sort=%5Bname%5D&limit=200");
}

TEST_F(AmazonDriveListing, FirstPageHasNoToken) {
  auto request = query();
  request.startToken = "";
  EXPECT_EQ(lineOf(request), std::string(kQuery) + "limit=200");
  request.startToken = "nt/0001+a==&limit=1";
  EXPECT_EQ(lineOf(request),
            std::string(kQuery) + "limit=200&startToken=nt%2F0001%2Ba%3D%3D%26limit%3D1");
}

TEST_F(AmazonDriveListing, TokenThatIsNotPresentIsNotSent) {
  auto request = query();
  request.startToken = CloudStorage::Util::Field<std::string>("nt-0001");
  EXPECT_EQ(lineOf(request), std::string(kQuery) + "limit=200");
}

TEST_F(AmazonDriveListing, FilterIsOnlyPercentEncoded) {
  auto request = query();
  request.filters = "parents:\"a\"b'c\\d &\xC3\xA9\"";
  EXPECT_EQ(lineOf(request),
            std::string(kQuery) + "filters=parents%3A%22a%22b%27c%5Cd%20%26%C3%A9%22&limit=200");
}

TEST_F(AmazonDriveListing, OneSlashPrecedesNodes) {
  for (const char* endpoint : {"https://cdws.us-east-1.amazonaws.com/drive/v1/",
                               "https://cdws.us-east-1.amazonaws.com/drive/v1",
                               "https://cdws.us-east-1.amazonaws.com/drive/v1//",
                               "https://cdws.us-east-1.amazonaws.com/drive/v1////"}) {
    auto request = query();
    request.endpoint = endpoint;
    EXPECT_EQ(lineOf(request), std::string(kQuery) + "limit=200") << endpoint;
  }
}

TEST_F(AmazonDriveListing, ReadsFolders) {
  const auto folder = nodeFrom(kNode);
  EXPECT_EQ(folder.kind, "FOLDER");
  EXPECT_EQ(folder.id, "nodeid1");
  EXPECT_EQ(folder.name, "2019");
  EXPECT_EQ(folder.mimeType, "");
  EXPECT_FALSE(folder.trashed);
  EXPECT_EQ(folder.createdTime.text(), "2015-03-02T10:00:00.000Z");
  EXPECT_EQ(folder.modifiedTime.text(), "2016-03-02T10:00:00.250Z");
  EXPECT_EQ(folder.md5Checksum, "");
  EXPECT_EQ(folder.size, 0U);
  EXPECT_THAT(folder.parents, ElementsAre("rootid", "other"));
  EXPECT_EQ(folder.storage, nullptr);
}

TEST_F(AmazonDriveListing, ReadsFiles) {
  const auto file =
      nodeFrom(R"({"id":"f1","kind":"FILE","contentProperties":{"version":1,"extension":"jpg",)"
               R"("size":18446744073709551615,"image":{"size":7,"md5":"x"},"md5":"d41d8cd9",)"
               R"("contentType":"image/jpeg"},"name":"a.jpg","status":"TRASH"})");
  EXPECT_EQ(file.kind, "FILE");
  EXPECT_EQ(file.name, "a.jpg");
  EXPECT_EQ(file.mimeType, "image/jpeg");
  EXPECT_EQ(file.md5Checksum, "d41d8cd9");
  EXPECT_EQ(file.size, 18446744073709551615U);
  EXPECT_TRUE(file.trashed);
}

TEST_F(AmazonDriveListing, OnlyTheStatusTrashIsTrashed) {
  for (const char* status : {R"("AVAILABLE")", R"("PURGED")", R"("trash")", R"("")", "null", "1"}) {
    EXPECT_FALSE(nodeFrom(R"({"id":"n","status":)" + std::string(status) + "}").trashed) << status;
  }
  EXPECT_TRUE(nodeFrom(R"({"status":"TRASH","id":"n"})").trashed);
}

TEST_F(AmazonDriveListing, RootHasNoName) {
  const auto root = nodeFrom(R"({"id":"rootid","kind":"FOLDER","isRoot":true,"parents":[]})");
  EXPECT_EQ(root.id, "rootid");
  EXPECT_EQ(root.name, "");
  EXPECT_THAT(root.parents, IsEmpty());
}

TEST_F(AmazonDriveListing, MembersOfAnotherTypeCountAsAbsent) {
  const auto node =
      nodeFrom(R"({"id":"n","name":null,"kind":["FOLDER"],"createdDate":1,"modifiedDate":{},)"
               R"("contentProperties":"none","parents":{"a":"b"},"status":{}})");
  for (const auto text : {node.name, node.kind, node.createdTime.text(), node.modifiedTime.text(),
                          node.mimeType, node.md5Checksum}) {
    EXPECT_EQ(text, "");
  }
  EXPECT_THAT(node.parents, IsEmpty());
  const auto file =
      nodeFrom(R"({"id":"f","contentProperties":{"size":-1,"md5":1,"contentType":null},)"
               R"("parents":[1,null,"p","a\u0000b"]})");
  EXPECT_EQ(file.size, 0U);
  EXPECT_EQ(file.md5Checksum, "");
  EXPECT_EQ(file.mimeType, "");
  EXPECT_THAT(file.parents, ElementsAre("p"));
}

TEST_F(AmazonDriveListing, LastOfDuplicateMembersCounts) {
  const auto file = nodeFrom(
      R"({"id":"f","parents":["a"],"contentProperties":{"size":5,"md5":"m","contentType":"c"},)"
      R"("status":"TRASH","parents":null,"contentProperties":{"size":6},"status":"AVAILABLE"})");
  EXPECT_EQ(file.size, 6U);
  EXPECT_EQ(file.md5Checksum, "");
  EXPECT_EQ(file.mimeType, "");
  EXPECT_FALSE(file.trashed);
  EXPECT_THAT(file.parents, IsEmpty());
}

TEST_F(AmazonDriveListing, PageHasTheServicesOrderAndTheNextToken) {
  const auto outcome =
      read(R"({"count":250,"nextToken":"nt-0001","data":[{"id":"b"},{"id":"a"},{"id":"c"}]})");
  ASSERT_TRUE(outcome.isSuccess());
  EXPECT_THAT(idsOf(outcome.getResult()), ElementsAre("b", "a", "c"));
  EXPECT_EQ(outcome.getResult().nextToken, "nt-0001");
  EXPECT_THAT(lines(), SizeIs(1));
}

TEST_F(AmazonDriveListing, UnusualPagesAreRead) {
  const std::pair<std::string, std::vector<std::string>> pages[] = {
      {"{}", {}},
      {R"({"count":"x","data":null,"nextToken":null})", {}},
      {R"({"data":[],"nextToken":7})", {}},
      {R"({"data":[{},{"id":"a"}]})", {"a"}},
      {R"({"later":{"data":[{"id":"x"}],"nextToken":"y"},"data":[{"id":"a"}]})", {"a"}},
      {"\xEF\xBB\xBF{\"data\":[{\"id\":\"a\"}]}", {"a"}},
      {" \r\n{\"d\\u0061ta\":[{\"id\":\"\\u0061\"}]}\n", {"a"}}};
  for (const auto& [page, ids] : pages) {
    const auto outcome = read(page);
    ASSERT_TRUE(outcome.isSuccess()) << page << outcome.getError();
    EXPECT_EQ(idsOf(outcome.getResult()), ids) << page;
    EXPECT_EQ(outcome.getResult().nextToken, "") << page;
  }
}

TEST_F(AmazonDriveListing, IsRetriedAfterTemporaryFailures) {
  for (const int status : {429, 500, 503}) enqueue(response(status));
  EXPECT_TRUE(read("{}").isSuccess());
  EXPECT_THAT(delays(), ElementsAre(1000, 2000, 3000));
}

TEST_F(AmazonDriveListing, NodeIsWrittenOnOneLine) {
  EXPECT_EQ(nodeFrom(kNode).toString(),
            "{ kind: FOLDER, id: nodeid1, name: 2019, mimeType: , _trashed: 0, "
            "_createdTime = 2015-03-02T10:00:00.000000Z, "
            "_modifiedTime = 2016-03-02T10:00:00.250000Z, _md5Checksum: , _size: 0, "
            "_parent: [ rootid, other] }");
  EXPECT_EQ(
      nodeFrom(R"({"id":"f","status":"TRASH","contentProperties":{"size":12345678901,"md5":"d4",)"
               R"("contentType":"image/png"}})")
          .toString(),
      "{ kind: , id: f, name: , mimeType: image/png, _trashed: 1, "
      "_createdTime = 1970-01-01T00:00:00.000000Z, "
      "_modifiedTime = 1970-01-01T00:00:00.000000Z, _md5Checksum: d4, _size: 12345678901, "
      "_parent: [ ] }");
}

}  // namespace
