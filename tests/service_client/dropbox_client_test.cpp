#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "support/dropbox_fixture.h"
#include "support/expectations.h"

namespace {

namespace Http = CloudStorage::Http;
namespace Model = CloudStorage::Client::Dropbox::Model;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using TestSupport::dropboxError;
using TestSupport::expectInvalidRequest;
using TestSupport::expectMalformedResponse;
using TestSupport::response;
using Kind = Http::TransportFailure::Kind;

constexpr char kCreateFolder[] = "POST https://api.dropboxapi.com/2/files/create_folder_v2";
constexpr char kCreated[] = R"({"metadata":{"name":"New","id":"id:7","path_lower":"/photos/new",)"
                            R"("path_display":"/Photos/New"}})";
constexpr char kEmptyFolder[] = R"({"entries":[],"cursor":"c1","has_more":false})";

Model::CreateFolderRequest newFolder(const std::string& path) {
  Model::CreateFolderRequest request;
  request.path = path;
  request.autorename = false;
  return request;
}

class DropboxClientTest : public ::testing::Test, protected TestSupport::DropboxFixture {
 protected:
  auto create(const std::string& path) { return makeClient()->createFolder(newFolder(path)); }

  auto createdBy(const std::string& body) {
    enqueue(response(200, body));
    return create("/photos/New");
  }

  // The body of `request` as it is sent.
  std::string listingOf(const Model::ListFolderRequest& request) {
    enqueue(response(200, kEmptyFolder));
    EXPECT_TRUE(makeClient()->listFolder(request).isSuccess());
    return bodies().back();
  }

  // The body of `request` as it is sent.
  std::string creationOf(const Model::CreateFolderRequest& request) {
    enqueue(response(200, kCreated));
    EXPECT_TRUE(makeClient()->createFolder(request).isSuccess());
    return bodies().back();
  }
};

TEST_F(DropboxClientTest, CreatingSendsExactlyThis) {
  EXPECT_EQ(creationOf(newFolder("/photos/New")), R"({"path":"/photos/New","autorename":false})");
  EXPECT_THAT(lines(), ElementsAre(kCreateFolder));
  EXPECT_THAT(requests().at(0).headers, ElementsAre(Pair("accept", "application/json"),
                                                    Pair("authorization", "Bearer token-1"),
                                                    Pair("content-type", "application/json")));
}

TEST_F(DropboxClientTest, OnlyPresentParametersAreSent) {
  Model::CreateFolderRequest creation;
  EXPECT_EQ(creationOf(creation), "{}");
  creation.autorename = true;
  EXPECT_EQ(creationOf(creation), R"({"autorename":true})");

  Model::ListFolderRequest listing;
  EXPECT_EQ(listingOf(listing), "{}");
  listing.recursive = true;
  EXPECT_EQ(listingOf(listing), R"({"recursive":true})");
  listing.includeMediaInfo = true;
  EXPECT_EQ(listingOf(listing), R"({"recursive":true,"include_media_info":true})");
  listing = {};
  listing.path = "";
  listing.includeDeleted = true;
  EXPECT_EQ(listingOf(listing), R"({"path":"","include_deleted":true})");
  listing = {};
  listing.includeHasExplicitSharedMembers = true;
  EXPECT_EQ(listingOf(listing), R"({"include_has_explicit_shared_members":true})");
}

TEST_F(DropboxClientTest, EmptySegmentsOfPathsAreRemoved) {
  const std::pair<std::string, std::string> paths[] = {{"", ""},
                                                       {"/", ""},
                                                       {"//", ""},
                                                       {"/A", "/A"},
                                                       {"//A", "/A"},
                                                       {"/x/A", "/x/A"},
                                                       {"/x//A", "/x/A"},
                                                       {"/x///y//A", "/x/y/A"},
                                                       {"/x/", "/x"},
                                                       {"/x//", "/x"},
                                                       {"///x///", "/x"},
                                                       {"id:abc", "id:abc"},
                                                       {"id:abc//A", "id:abc/A"},
                                                       {"/ A /b", "/ A /b"},
                                                       {"/x/../y", "/x/../y"}};
  for (const auto& [path, sent] : paths) {
    EXPECT_EQ(creationOf(newFolder(path)), R"({"path":")" + sent + R"(","autorename":false})");
    Model::ListFolderRequest listing;
    listing.path = path;
    EXPECT_EQ(listingOf(listing), R"({"path":")" + sent + R"("})");
  }
}

TEST_F(DropboxClientTest, PathsAreWrittenAsJson) {
  const std::pair<std::string, std::string> paths[] = {
      {R"(/say "hi")", R"(/say \"hi\")"},
      {R"(/a\b)", R"(/a\\b)"},
      {"/a\tb\n", "/a\\u0009b\\u000A"},
      {"/\xC3\xA9t\xC3\xA9 \xF0\x9F\x8C\x9E", "/\xC3\xA9t\xC3\xA9 \xF0\x9F\x8C\x9E"},
      {"/100% & more?#", "/100% & more?#"}};
  for (const auto& [path, sent] : paths) {
    EXPECT_EQ(creationOf(newFolder(path)), R"({"path":")" + sent + R"(","autorename":false})");
  }
}

TEST_F(DropboxClientTest, PathThatIsNoUtf8IsNotSent) {
  Model::ListFolderRequest listing;
  listing.path = "/\xC3(";
  const auto list = makeClient()->listFolder(listing);
  const auto folder = create("/\xFF");
  expectInvalidRequest(list);
  expectInvalidRequest(folder);
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(DropboxClientTest, CreatedFolderIsReadFromItsWrapper) {
  const auto outcome = createdBy(kCreated);
  ASSERT_TRUE(outcome.isSuccess());
  const auto& folder = outcome.getResult();
  EXPECT_EQ(folder.tag, "folder");
  EXPECT_EQ(folder.name, "New");
  EXPECT_EQ(folder.id, "id:7");
  EXPECT_EQ(folder.pathLower, "/photos/new");
  EXPECT_EQ(folder.path, "/Photos/New");
}

TEST_F(DropboxClientTest, CreatedFolderMayHaveItsPathInLowerCaseOnly) {
  for (const char* path : {R"("path_lower":"/new")", R"("path_display":null,"path_lower":"/new")",
                           R"("path_lower":"/new","path_display":"")"}) {
    const auto outcome =
        createdBy(R"({"metadata":{"name":"New","id":"id:7",)" + std::string(path) + "}}");
    ASSERT_TRUE(outcome.isSuccess()) << path;
    EXPECT_EQ(outcome.getResult().path, "/new") << path;
  }
}

TEST_F(DropboxClientTest, CreatedFolderMayHaveNoId) {
  for (const char* id : {"", R"("id":null,)", R"("id":7,)"}) {
    const auto outcome =
        createdBy(R"({"metadata":{"name":"New",)" + std::string(id) + R"("path_lower":"/new"}})");
    ASSERT_TRUE(outcome.isSuccess()) << id;
    EXPECT_EQ(outcome.getResult().id, "") << id;
    EXPECT_EQ(outcome.getResult().path, "/new") << id;
    EXPECT_EQ(outcome.getResult().tag, "folder") << id;
  }
}

TEST_F(DropboxClientTest, CreatedFolderWithoutAPathHasThePathThatWasSent) {
  for (const char* metadata : {"{}", R"({"name":"A"})", R"({"path_lower":"","path_display":null})",
                               R"({"path_lower":"/a\u0000","path_display":"/\udc00"})"}) {
    enqueue(response(200, R"({"metadata":)" + std::string(metadata) + "}"));
    const auto outcome = create("//A folder with a longer name");
    ASSERT_TRUE(outcome.isSuccess()) << metadata;
    const auto folder = outcome.getResult();
    EXPECT_EQ(folder.path, "/A folder with a longer name") << metadata;
  }
}

TEST_F(DropboxClientTest, LastMetadataOfACreationCounts) {
  const auto outcome = createdBy(R"({"metadata":{"name":"First","id":"id:1","path_lower":"/1"},)"
                                 R"("metadata":{"name":"Last","path_lower":"/2"}})");
  ASSERT_TRUE(outcome.isSuccess());
  EXPECT_EQ(outcome.getResult().name, "Last");
  EXPECT_EQ(outcome.getResult().id, "");
  EXPECT_EQ(outcome.getResult().path, "/2");
  expectMalformedResponse(createdBy(R"({"metadata":{"path_lower":"/1"},"metadata":null})"));
}

TEST_F(DropboxClientTest, CreatedFolderOutlivesItsOutcome) {
  Model::Metadata kept;
  {
    auto outcome =
        createdBy(R"({"metadata":{"name":"a name that is longer than a short string","id":"id:7",)"
                  R"("path_display":"/a name that is longer than a short string"}})");
    kept = std::move(outcome).getResult();
  }
  EXPECT_EQ(kept.name, "a name that is longer than a short string");
}

TEST_F(DropboxClientTest, CreationThatNamesNoFolderIsALocalFailure) {
  for (const char* body :
       {"", "{}", "[]", "null", "<html></html>", R"({"metadata":null})", R"({"metadata":"x"})",
        R"({"metadata":[]})", R"({"name":"New","id":"id:7","path_lower":"/x"})",
        R"({"metadata":{"name":"New","id":"id:7","path_lower":"/new"}} more)",
        R"({"metadata":{"name":"New","id":"id:7","path_lower":"/new"})"}) {
    const auto outcome = createdBy(body);
    SCOPED_TRACE(body);
    expectMalformedResponse(outcome);
  }
}

TEST_F(DropboxClientTest, ErrorsAreNamedByTheService) {
  enqueue(response(409, dropboxError("path/conflict/folder")));
  const auto error = create("/photos/New").getError();
  EXPECT_EQ(error.exceptionName, "path/conflict/folder");
  EXPECT_EQ(error.httpResponseCode, 409);
  EXPECT_THAT(lines(), SizeIs(1));
}

TEST_F(DropboxClientTest, NothingElseIsRetried) {
  for (const int status : {302, 400, 403, 409, 422, 429, 500, 503}) {
    enqueue(response(status, "", {{"location", "https://elsewhere.example.test/"}}));
    EXPECT_EQ(create("/photos/New").getError().httpResponseCode, status);
  }
  enqueue(TestSupport::failedResponse(Kind::Interrupted, "CURLE_RECV_ERROR", "reset", true));
  EXPECT_EQ(create("/photos/New").getError().exceptionName, "CURLE_RECV_ERROR");
  EXPECT_THAT(lines(), SizeIs(9));
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(DropboxClientTest, TokenIsRedactedInErrors) {
  credential->setAccessToken("a-long-secret-token");
  enqueue(response(400, "Malformed token: a-long-secret-token"));
  const auto error = create("/photos/New").getError();
  EXPECT_EQ(error.exceptionName, "bad_input");
  EXPECT_THAT(error.message, ::testing::Not(HasSubstr("a-long-secret-token")));
}

}  // namespace
