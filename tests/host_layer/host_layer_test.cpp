#include <gmock/gmock.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "libvemlo.h"
#include "stand_in_layer.h"

// The library with a service-client layer that the process itself provides.
namespace {

using StandIn::journal;
using testing::ElementsAre;
using testing::StartsWith;

class HostLayer : public testing::Test {
 protected:
  HostLayer() { StandIn::reset(); }
};

TEST_F(HostLayer, ListsBucketsThroughTheHostsClient) {
  session* handle = libvemlo_s3_init("", "", "", "", nullptr);
  char** buckets = nullptr;
  int count = 0;
  ASSERT_EQ(s3_list_bucket(handle, &buckets, &count), 0);
  ASSERT_EQ(count, 2);
  EXPECT_STREQ(buckets[0], "one");
  EXPECT_STREQ(buckets[1], "two");
  free_buckets(buckets, count);
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

// Releases the folders of a listing, and says what they are called.
std::vector<std::string> takeNames(directory* folders, int count) {
  std::vector<std::string> names;
  for (int i = 0; i < count; ++i) names.emplace_back(folders[i].name);
  free_diretories(folders, count);
  return names;
}

TEST_F(HostLayer, ListsAndMakesS3FoldersThroughTheHostsClient) {
  session* handle = libvemlo_s3_init("", "", "", "", nullptr);
  directory* folders = nullptr;
  int count = 0;
  EXPECT_EQ(s3_list_directory(handle, "bucket", "", &folders, &count), 0);
  EXPECT_THAT(takeNames(folders, count), ElementsAre("one/", "two/"));
  EXPECT_EQ(s3_create_directory(handle, "bucket", "a/b/"), 0);
  journal().operationsFail = true;
  EXPECT_EQ(s3_list_directory(handle, "bucket", "", &folders, &count), 15);
  EXPECT_EQ(s3_create_directory(handle, "bucket", "a/b/"), 15);
  libvemlo_s3_cleanup(handle);
  EXPECT_THAT(journal().calls, ElementsAre("S3Client", "listObjectsV2 bucket", "putObject a/b/",
                                           "listObjectsV2 bucket", "putObject a/b/", "~S3Client"));
}

TEST_F(HostLayer, ListsAndMakesAzureContainersThroughTheHostsClient) {
  session* handle = libvemlo_azure_ssb_init("", "account", "good", nullptr);
  journal().calls.clear();
  char** containers = nullptr;
  int count = 0;
  ASSERT_EQ(azure_ssb_list_bucket(handle, &containers, &count), 0);
  ASSERT_EQ(count, 2);
  EXPECT_STREQ(containers[0], "one");
  EXPECT_STREQ(containers[1], "two");
  free_buckets(containers, count);
  EXPECT_EQ(azure_ssb_create_bucket(handle, "container"), 0);
  journal().operationsFail = true;
  EXPECT_EQ(azure_ssb_list_bucket(handle, &containers, &count), 15);
  EXPECT_EQ(azure_ssb_create_bucket(handle, "container"), 15);
  libvemlo_azure_ssb_cleanup(handle);
  EXPECT_THAT(journal().calls, ElementsAre("listContainer", "createContainer container",
                                           "listContainer", "createContainer container"));
}

TEST_F(HostLayer, ListsAndMakesAzureFoldersThroughTheHostsClient) {
  session* handle = libvemlo_azure_ssb_init("", "account", "good", nullptr);
  journal().calls.clear();
  directory* folders = nullptr;
  int count = 0;
  EXPECT_EQ(azure_ssb_list_directory(handle, "container", "", &folders, &count), 0);
  EXPECT_THAT(takeNames(folders, count), ElementsAre("one/", "two/"));
  EXPECT_EQ(azure_ssb_create_directory(handle, "container", "a/b/"), 0);
  journal().operationsFail = true;
  EXPECT_EQ(azure_ssb_list_directory(handle, "container", "", &folders, &count), 15);
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

TEST_F(HostLayer, DecodesTheAzureKeyBeforeAnythingElseIsMade) {
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

TEST_F(HostLayer, OpensDriveSessions) {
  libvemlo_google_drive_cleanup(libvemlo_google_drive_init(nullptr));
  libvemlo_amazon_drive_cleanup(libvemlo_amazon_drive_init(nullptr));
  libvemlo_one_drive_cleanup(libvemlo_one_drive_init(nullptr));
  libvemlo_dropbox_cleanup(libvemlo_dropbox_init(nullptr));
  EXPECT_THAT(journal().calls, ElementsAre("GoogleDriveClient", "AmazonDriveClient",
                                           "OneDriveClient", "DropboxClient"));
}

// What one drive service's functions do with the layer.
struct Drive {
  session* (*open)(const proxy_setting*);
  void (*close)(session*);
  int (*list)(session*, const directory*, directory**, int*);
  int (*make)(session*, const directory*, const char*, directory**);
};

TEST_F(HostLayer, ListsAndMakesDriveFoldersThroughTheHostsClients) {
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
    directory* folders = nullptr;
    int count = 0;
    EXPECT_EQ(drive.list(handle, &parent, &folders, &count), 0);
    EXPECT_THAT(takeNames(folders, count), ElementsAre("one", "two"));
    directory* made = nullptr;
    ASSERT_EQ(drive.make(handle, &parent, "name", &made), 0);
    EXPECT_STREQ(made->name, "name");
    free_directory(made);
    journal().operationsFail = true;
    EXPECT_EQ(drive.list(handle, &parent, &folders, &count), 1);
    EXPECT_EQ(drive.make(handle, &parent, "name", &made), 1);
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
  EXPECT_THAT(journal().calls, ElementsAre("GoogleDriveClient", "exchange code"));
}

// A layer whose constructors throw is the host's own, and so is what becomes of the exception; but
// what the library had made by then is gone (the leak check looks at the rest).
TEST_F(HostLayer, WhoseClientsCannotBeMadeLeavesNothingBehind) {
  journal().clientConstructorsThrow = true;
  EXPECT_THROW(libvemlo_s3_init("", "", "", "", nullptr), std::runtime_error);
  EXPECT_TRUE(journal().credential.expired());
  EXPECT_THROW(libvemlo_azure_ssb_init("", "account", "good", nullptr), std::runtime_error);
  EXPECT_TRUE(journal().credential.expired());
  for (const auto& init : {libvemlo_google_drive_init, libvemlo_amazon_drive_init,
                           libvemlo_one_drive_init, libvemlo_dropbox_init}) {
    EXPECT_THROW(init(nullptr), std::runtime_error);
    EXPECT_TRUE(journal().credential.expired());
  }
}

}  // namespace
