#include <gmock/gmock.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "libvemlo.h"
#include "stand_in_layer.h"

// The library with a service-client layer that the process provides.
namespace {

using StandIn::journal;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;
using testing::StartsWith;

class HostLayer : public testing::Test {
 protected:
  HostLayer() { StandIn::reset(); }
};

// What a listing returns, with the names in place of its list, which is released.
struct Listed {
  int result;
  std::vector<std::string> names;
};

template <typename Listing, typename... Arguments>
Listed bucketsOf(Listing listing, Arguments... arguments) {
  char** buckets = nullptr;
  int count = 0;
  const int result = listing(arguments..., &buckets, &count);
  const std::vector<std::string> names(buckets, buckets + count);
  free_buckets(buckets, count);
  return {result, names};
}

template <typename Listing, typename... Arguments>
Listed foldersOf(Listing listing, Arguments... arguments) {
  directory* folders = nullptr;
  int count = 0;
  const int result = listing(arguments..., &folders, &count);
  std::vector<std::string> names;
  for (int i = 0; i < count; ++i) names.emplace_back(folders[i].name);
  free_diretories(folders, count);
  return {result, names};
}

TEST_F(HostLayer, ListsBucketsThroughTheHostsClient) {
  session* handle = libvemlo_s3_init("", "", "", "", nullptr);
  EXPECT_THAT(bucketsOf(s3_list_bucket, handle), FieldsAre(0, ElementsAre("one", "two")));
  libvemlo_s3_cleanup(handle);
  EXPECT_THAT(journal().calls, ElementsAre("S3Client", "listBuckets", "~S3Client"));
}

TEST_F(HostLayer, ReturnsTheErrorTypeOfTheHostsClient) {
  session* handle = libvemlo_s3_init("", "", "", "", nullptr);
  journal().operationsFail = true;
  char** buckets = nullptr;
  int count = 4711;
  EXPECT_EQ(s3_list_bucket(handle, &buckets, &count), 15);
  EXPECT_EQ(buckets, nullptr);
  EXPECT_EQ(count, 4711);
  EXPECT_EQ(s3_create_bucket(handle, "bucket", 0), 15);
  libvemlo_s3_cleanup(handle);
  EXPECT_THAT(journal().calls,
              ElementsAre("S3Client", "listBuckets", "createBucket bucket", "~S3Client"));
}

TEST_F(HostLayer, ListsAndCreatesS3FoldersThroughTheHostsClient) {
  session* handle = libvemlo_s3_init("", "", "", "", nullptr);
  EXPECT_THAT(foldersOf(s3_list_directory, handle, "bucket", ""),
              FieldsAre(0, ElementsAre("one/", "two/")));
  EXPECT_EQ(s3_create_directory(handle, "bucket", "a/b/"), 0);
  journal().operationsFail = true;
  EXPECT_THAT(foldersOf(s3_list_directory, handle, "bucket", ""), FieldsAre(15, IsEmpty()));
  EXPECT_EQ(s3_create_directory(handle, "bucket", "a/b/"), 15);
  libvemlo_s3_cleanup(handle);
  EXPECT_THAT(journal().calls, ElementsAre("S3Client", "listObjectsV2 bucket", "putObject a/b/",
                                           "listObjectsV2 bucket", "putObject a/b/", "~S3Client"));
}

TEST_F(HostLayer, ListsAndCreatesAzureContainersThroughTheHostsClient) {
  session* handle = libvemlo_azure_ssb_init("", "account", "good", nullptr);
  journal().calls.clear();
  EXPECT_THAT(bucketsOf(azure_ssb_list_bucket, handle), FieldsAre(0, ElementsAre("one", "two")));
  EXPECT_EQ(azure_ssb_create_bucket(handle, "container"), 0);
  journal().operationsFail = true;
  EXPECT_THAT(bucketsOf(azure_ssb_list_bucket, handle), FieldsAre(15, IsEmpty()));
  EXPECT_EQ(azure_ssb_create_bucket(handle, "container"), 15);
  libvemlo_azure_ssb_cleanup(handle);
  EXPECT_THAT(journal().calls, ElementsAre("listContainer", "createContainer container",
                                           "listContainer", "createContainer container"));
}

TEST_F(HostLayer, ListsAndCreatesAzureFoldersThroughTheHostsClient) {
  session* handle = libvemlo_azure_ssb_init("", "account", "good", nullptr);
  journal().calls.clear();
  EXPECT_THAT(foldersOf(azure_ssb_list_directory, handle, "container", ""),
              FieldsAre(0, ElementsAre("one/", "two/")));
  EXPECT_EQ(azure_ssb_create_directory(handle, "container", "a/b/"), 0);
  journal().operationsFail = true;
  EXPECT_THAT(foldersOf(azure_ssb_list_directory, handle, "container", ""),
              FieldsAre(15, IsEmpty()));
  EXPECT_EQ(azure_ssb_create_directory(handle, "container", "a/b/"), 15);
  libvemlo_azure_ssb_cleanup(handle);
  EXPECT_THAT(journal().calls, ElementsAre("listBlob container", "listBlob container",
                                           "putBlob a/b/", "listBlob container", "putBlob a/b/"));
}

TEST_F(HostLayer, GetsTheTwoLeadingStringsOfAnS3SessionUnchangedAndInOrder) {
  libvemlo_s3_cleanup(libvemlo_s3_init(" First/ ", "SECOND \xC3\xA4", "", "", nullptr));
  EXPECT_EQ(journal().firstClientString, " First/ ");
  EXPECT_EQ(journal().secondClientString, "SECOND \xC3\xA4");
}

TEST_F(HostLayer, DecodesTheAzureKeyBeforeItConstructsAnything) {
  EXPECT_EQ(libvemlo_azure_ssb_init("somewhere", "account", "bad", nullptr), nullptr);
  EXPECT_THAT(journal().calls, ElementsAre("decodeAccessKey"));
}

TEST_F(HostLayer, MapsTheAzureRegion) {
  session* handle = libvemlo_azure_ssb_init("Some Where", "account", "good", nullptr);
  ASSERT_NE(handle, nullptr);
  libvemlo_azure_ssb_cleanup(handle);
  EXPECT_THAT(journal().calls,
              ElementsAre("decodeAccessKey", "getRegionForName Some Where", "AzureSSBClient"));
}

// A drive's client, which is told apart by the host of its token endpoint.
MATCHER_P(IsDriveClient, host, "") {
  return arg.find("OAuth2Client https://") == 0 && arg.find(host) != std::string::npos;
}

TEST_F(HostLayer, OpensDriveSessions) {
  libvemlo_google_drive_cleanup(libvemlo_google_drive_init(nullptr));
  libvemlo_amazon_drive_cleanup(libvemlo_amazon_drive_init(nullptr));
  libvemlo_one_drive_cleanup(libvemlo_one_drive_init(nullptr));
  libvemlo_dropbox_cleanup(libvemlo_dropbox_init(nullptr));
  EXPECT_THAT(journal().calls, ElementsAre(IsDriveClient("google"), IsDriveClient("amazon"),
                                           IsDriveClient("microsoft"), IsDriveClient("dropbox")));
}

struct Drive {
  session* (*open)(const proxy_setting*);
  void (*close)(session*);
  int (*list)(session*, const directory*, directory**, int*);
  int (*create)(session*, const directory*, const char*, directory**);
};

TEST_F(HostLayer, ListsAndCreatesDriveFoldersThroughTheHostsClients) {
  for (const auto& drive : {Drive{libvemlo_google_drive_init, libvemlo_google_drive_cleanup,
                                  google_drive_list_directory, google_drive_create_directory},
                            Drive{libvemlo_amazon_drive_init, libvemlo_amazon_drive_cleanup,
                                  amazon_drive_list_directory, amazon_drive_create_directory},
                            Drive{libvemlo_one_drive_init, libvemlo_one_drive_cleanup,
                                  one_drive_list_directory, one_drive_create_directory},
                            Drive{libvemlo_dropbox_init, libvemlo_dropbox_cleanup,
                                  dropbox_list_directory, dropbox_create_directory}}) {
    journal().operationsFail = false;
    session* handle = drive.open(nullptr);
    char parentId[] = "/parent";
    const directory parent{nullptr, parentId};
    EXPECT_THAT(foldersOf(drive.list, handle, &parent), FieldsAre(0, ElementsAre("one", "two")));
    directory* created = nullptr;
    ASSERT_EQ(drive.create(handle, &parent, "name", &created), 0);
    EXPECT_STREQ(created->name, "name");
    free_directory(created);
    journal().operationsFail = true;
    EXPECT_THAT(foldersOf(drive.list, handle, &parent), FieldsAre(1, IsEmpty()));
    EXPECT_EQ(drive.create(handle, &parent, "name", &created), 1);
    drive.close(handle);
  }
}

TEST_F(HostLayer, LinksAnAccountThroughTheHostsClient) {
  session* handle = libvemlo_google_drive_init(nullptr);
  char* url = nullptr;
  ASSERT_EQ(google_drive_get_authorize_url(handle, &url), 0);
  EXPECT_THAT(url, StartsWith("consent to email"));
  std::free(url);
  char* accessToken = nullptr;
  char* refreshToken = nullptr;
  ASSERT_EQ(google_drive_get_token(handle, "code", &accessToken, &refreshToken), 0);
  EXPECT_STREQ(accessToken, "access");
  EXPECT_STREQ(refreshToken, "refresh");
  std::free(accessToken);
  std::free(refreshToken);
  libvemlo_google_drive_cleanup(handle);
  EXPECT_THAT(journal().calls, ElementsAre(IsDriveClient("google"), "exchange code"));
}

// What the library had allocated until then is released; the leak check covers what the credential
// does not show.
TEST_F(HostLayer, WhoseConstructorsThrowOpensNoSessionAndLeavesNothingAllocated) {
  journal().clientConstructorsThrow = true;
  EXPECT_EQ(libvemlo_s3_init("", "", "", "", nullptr), nullptr);
  EXPECT_TRUE(journal().credential.expired());
  EXPECT_EQ(libvemlo_azure_ssb_init("", "account", "good", nullptr), nullptr);
  EXPECT_TRUE(journal().credential.expired());
  for (const auto& init : {libvemlo_google_drive_init, libvemlo_amazon_drive_init,
                           libvemlo_one_drive_init, libvemlo_dropbox_init}) {
    EXPECT_EQ(init(nullptr), nullptr);
    EXPECT_TRUE(journal().credential.expired());
  }
}

TEST_F(HostLayer, WhoseObjectStoresThrowFailsTheCalls) {
  session* s3 = libvemlo_s3_init("", "", "", "", nullptr);
  session* azure = libvemlo_azure_ssb_init("", "account", "good", nullptr);
  journal().operationsThrow = true;
  char** buckets = nullptr;
  int count = 4711;
  EXPECT_EQ(s3_list_bucket(s3, &buckets, &count), 1);
  EXPECT_EQ(count, 4711);
  EXPECT_EQ(s3_create_bucket(s3, "bucket", 0), 1);
  EXPECT_THAT(foldersOf(s3_list_directory, s3, "bucket", ""), FieldsAre(1, IsEmpty()));
  EXPECT_EQ(s3_create_directory(s3, "bucket", "a/b/"), 1);
  EXPECT_THAT(bucketsOf(azure_ssb_list_bucket, azure), FieldsAre(1, IsEmpty()));
  EXPECT_EQ(azure_ssb_create_bucket(azure, "container"), 1);
  EXPECT_THAT(foldersOf(azure_ssb_list_directory, azure, "container", ""), FieldsAre(1, IsEmpty()));
  EXPECT_EQ(azure_ssb_create_directory(azure, "container", "a/b/"), 1);
  libvemlo_s3_cleanup(s3);
  libvemlo_azure_ssb_cleanup(azure);
}

TEST_F(HostLayer, WhoseDrivesThrowFailsTheCalls) {
  session* google = libvemlo_google_drive_init(nullptr);
  session* amazon = libvemlo_amazon_drive_init(nullptr);
  session* dropbox = libvemlo_dropbox_init(nullptr);
  journal().operationsThrow = true;
  char parentId[] = "/parent";
  const directory parent{nullptr, parentId};
  directory* folder = nullptr;
  EXPECT_EQ(google_drive_get_root_directory(google, &folder), 1);
  EXPECT_THAT(foldersOf(google_drive_list_directory, google, &parent), FieldsAre(1, IsEmpty()));
  EXPECT_EQ(google_drive_create_directory(google, &parent, "name", &folder), 1);
  EXPECT_EQ(folder, nullptr);
  EXPECT_EQ(amazon_drive_get_endpoint(amazon), 1);
  EXPECT_EQ(amazon_drive_test_api(amazon), 1);
  EXPECT_THAT(foldersOf(amazon_drive_list_directory, amazon, &parent), FieldsAre(1, IsEmpty()));

  char* text = nullptr;
  char* other = nullptr;
  EXPECT_EQ(google_drive_get_authorize_url(google, &text), 1);
  EXPECT_EQ(google_drive_get_token(google, "code", &text, &other), 337);
  EXPECT_EQ(google_drive_set_token(google, "access", "refresh"), 1);
  EXPECT_EQ(dropbox_get_token(dropbox, "code", &text), 343);
  EXPECT_EQ(dropbox_set_token(dropbox, "access"), 1);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(other, nullptr);
  libvemlo_google_drive_cleanup(google);
  libvemlo_amazon_drive_cleanup(amazon);
  libvemlo_dropbox_cleanup(dropbox);
}

}  // namespace
