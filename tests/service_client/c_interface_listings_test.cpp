#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "libvemlo_service_client.h"
#include "support/azure_fixture.h"
#include "support/drive_operations.h"
#include "support/s3_fixture.h"

namespace {

namespace Model = CloudStorage::Client::S3::Model;
using CloudStorage::Client::CallBudget;
using CloudStorage::Client::Error;
using CloudStorage::Util::Outcome;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using TestSupport::response;
using TestSupport::s3Error;

constexpr char kStore[] = "https://store.test";
constexpr char kFirst[] = "https://store.test/photos?delimiter=%2F&list-type=2";

std::string prefixes(const std::vector<std::string>& names) {
  std::string text;
  for (const auto& name : names) {
    text.append("<CommonPrefixes><Prefix>").append(name).append("</Prefix></CommonPrefixes>");
  }
  return text;
}

std::string keys(int count) {
  std::string text;
  for (int number = 0; number < count; ++number) {
    text.append("<Contents><Key>").append(std::to_string(number)).append("</Key></Contents>");
  }
  return text;
}

std::string lastPage(const std::string& entries) {
  return "<ListBucketResult><IsTruncated>false</IsTruncated>" + entries + "</ListBucketResult>";
}

std::string page(const std::string& entries, const std::string& next) {
  return "<ListBucketResult><IsTruncated>true</IsTruncated><NextContinuationToken>" + next +
         "</NextContinuationToken>" + entries + "</ListBucketResult>";
}

class ListingTest : public ::testing::Test {
 protected:
  void TearDown() override {
    vemlo_client_set_whole_s3_listings(0);
    makeListingComplete();
  }

  /// So that no test depends on the listings of an earlier one.
  static void makeListingComplete() {
    TestSupport::S3Fixture store;
    store.enqueue(response(200, "<ListBucketResult/>"));
    Model::ListObjectsV2Request request;
    request.bucket = "photos";
    store.makeClient(kStore)->listObjectsV2(request);
  }
};

class S3Listing : public ListingTest, protected TestSupport::S3Fixture {
 protected:
  static Model::ListObjectsV2Request requestForFolders() {
    Model::ListObjectsV2Request request;
    request.bucket = "photos";
    request.delimiter = "/";
    return request;
  }

  Outcome<Model::ListObjectsV2Result, Error> list() {
    return makeClient(kStore)->listObjectsV2(requestForFolders());
  }

  void enqueuePages(const std::vector<std::string>& bodies) {
    for (const auto& body : bodies) enqueue(response(200, body));
  }
};

class S3WholeListing : public S3Listing {
 protected:
  S3WholeListing() { vemlo_client_set_whole_s3_listings(1); }

  void expectMalformed(const std::string& message) {
    const auto listing = list();
    ASSERT_FALSE(listing.isSuccess());
    EXPECT_EQ(listing.getError().errorType, CloudStorage::Client::CoreErrors::LocalFailure);
    EXPECT_EQ(listing.getError().exceptionName, "MalformedResponse");
    EXPECT_THAT(listing.getError().message, HasSubstr(message));
    EXPECT_EQ(vemlo_client_was_listing_cut_short(), 0);
  }
};

// The first page

TEST_F(S3Listing, HasOnePageByDefault) {
  enqueuePages({page(prefixes({"a/"}) + keys(2), "more")});
  const auto listing = list();
  ASSERT_TRUE(listing.isSuccess());
  EXPECT_THAT(listing.getResult().commonPrefixes, ElementsAre("a/"));
  EXPECT_EQ(listing.getResult().objects.size(), 2U);
  EXPECT_THAT(addresses(), ElementsAre(kFirst));
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 1);
}

TEST_F(S3Listing, HasOnePageAgainWhenTheSwitchIsOff) {
  vemlo_client_set_whole_s3_listings(7);
  vemlo_client_set_whole_s3_listings(0);
  enqueuePages({page(prefixes({"a/"}), "more")});
  ASSERT_TRUE(list().isSuccess());
  EXPECT_EQ(requests().size(), 1U);
}

TEST_F(S3Listing, IsCutShortWithoutATokenToo) {
  enqueuePages({"<ListBucketResult><IsTruncated>true</IsTruncated></ListBucketResult>"});
  ASSERT_TRUE(list().isSuccess());
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 1);
}

TEST_F(S3Listing, IsNotCutShortUnlessTheStoreSaysSo) {
  enqueuePages({page("", "more"), lastPage(prefixes({"a/"})),  //
                page("", "more"), "<ListBucketResult/>"});
  for (int pair = 0; pair < 2; ++pair) {
    list();
    EXPECT_EQ(vemlo_client_was_listing_cut_short(), 1);
    list();
    EXPECT_EQ(vemlo_client_was_listing_cut_short(), 0);
  }
}

TEST_F(S3Listing, IsNotCutShortIfItFailed) {
  enqueuePages({page("", "more")});
  enqueue(response(404, s3Error("NoSuchBucket")));
  list();
  EXPECT_FALSE(list().isSuccess());
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 0);
}

TEST_F(S3Listing, IsCutShortForItsOwnThreadOnly) {
  enqueuePages({page("", "more")});
  list();
  int there = -1;
  std::thread([&there] { there = vemlo_client_was_listing_cut_short(); }).join();
  EXPECT_EQ(there, 0);
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 1);
}

TEST_F(S3Listing, OtherOperationsDoNotChangeWhetherItWasCutShort) {
  enqueuePages({page("", "more")});
  enqueue(response(200));
  list();
  Model::PutObjectRequest request;
  request.bucket = "photos";
  request.key = "a/";
  EXPECT_TRUE(makeClient(kStore)->putObject(request).isSuccess());
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 1);
}

TEST_F(S3Listing, OfBucketsIsCutShortIfTheStoreHasMore) {
  enqueue(response(200,
                   "<ListAllMyBucketsResult><Buckets><Bucket><Name>a</Name></Bucket></Buckets>"
                   "<ContinuationToken>more</ContinuationToken></ListAllMyBucketsResult>"));
  enqueue(response(200, "<ListAllMyBucketsResult/>"));
  const auto client = makeClient(kStore);
  EXPECT_EQ(client->listBuckets().getResult().entryCount(), 1U);
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 1);
  EXPECT_EQ(client->listBuckets().getResult().entryCount(), 0U);
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 0);
}

TEST_F(S3Listing, CountsFoldersAndFiles) {
  enqueuePages({lastPage(prefixes({"a/", ""}) + keys(3))});
  EXPECT_EQ(list().getResult().entryCount(), 5U);
}

// All pages

TEST_F(S3WholeListing, HasThePrefixesOfAllPagesInOrder) {
  enqueuePages({page(prefixes({"b/", "c/"}) + keys(1), "two/ +&amp;"),
                page(prefixes({"a/"}) + keys(2), "three"), lastPage(prefixes({"d/"}) + keys(3))});
  const auto listing = list();
  ASSERT_TRUE(listing.isSuccess());
  EXPECT_THAT(listing.getResult().commonPrefixes, ElementsAre("b/", "c/", "a/", "d/"));
  EXPECT_THAT(addresses(),
              ElementsAre(kFirst,
                          "https://store.test/photos?continuation-token=two%2F%20%2B%26"
                          "&delimiter=%2F&list-type=2",
                          "https://store.test/photos?continuation-token=three"
                          "&delimiter=%2F&list-type=2"));
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 0);
}

TEST_F(S3WholeListing, CountsButDoesNotKeepObjects) {
  enqueuePages({page(keys(1000), "two"), page(keys(999) + prefixes({"a/"}), "three"),
                lastPage(prefixes({"b/"}) + keys(2))});
  const auto listing = list();
  ASSERT_TRUE(listing.isSuccess());
  EXPECT_THAT(listing.getResult().objects, IsEmpty());
  EXPECT_EQ(listing.getResult().entryCount(), 2003U);
  EXPECT_THAT(listing.getResult().commonPrefixes, ElementsAre("a/", "b/"));
}

TEST_F(S3WholeListing, OfOnePageNeedsOneRequest) {
  enqueuePages({lastPage(prefixes({"a/"}))});
  EXPECT_THAT(list().getResult().commonPrefixes, ElementsAre("a/"));
  EXPECT_EQ(requests().size(), 1U);
}

TEST_F(S3WholeListing, GoesOnAfterAnEmptyPage) {
  enqueuePages({page("", "two"), page("", "three"), lastPage(prefixes({"a/"}))});
  EXPECT_THAT(list().getResult().commonPrefixes, ElementsAre("a/"));
}

TEST_F(S3WholeListing, HasAPrefixThatPagesRepeatOnce) {
  enqueuePages({page(prefixes({"a/", "b/"}), "two"), page(prefixes({"b/", "c/"}), "three"),
                lastPage(prefixes({"a/", "c/", "d/"}))});
  EXPECT_THAT(list().getResult().commonPrefixes, ElementsAre("a/", "b/", "c/", "d/"));
}

TEST_F(S3WholeListing, FailsIfAPageDoesNotSayHowToContinue) {
  enqueuePages({page(prefixes({"a/"}), "two"),
                "<ListBucketResult><IsTruncated>true</IsTruncated></ListBucketResult>"});
  expectMalformed("More keys follow, but not how to get them");
}

TEST_F(S3WholeListing, FailsIfAPageNamesItselfAsTheNext) {
  enqueuePages({page("", "two"), page("", "two")});
  expectMalformed("repeats the token");
  EXPECT_EQ(requests().size(), 2U);
}

TEST_F(S3WholeListing, FailsIfItsPagesFollowEachOtherInACircle) {
  enqueuePages({page("", "a"), page("", "b"), page("", "a"), page("", "b"), lastPage("")});
  expectMalformed("repeats the token");
  EXPECT_EQ(requests().size(), 3U);
}

TEST_F(S3WholeListing, FailsIfAPageContinuesWhereTheListingBegan) {
  enqueuePages({page("", "b"), page("", "a"), lastPage("")});
  auto request = requestForFolders();
  request.continuationToken = "a";
  const auto listing = makeClient(kStore)->listObjectsV2(request);
  ASSERT_FALSE(listing.isSuccess());
  EXPECT_THAT(listing.getError().message, HasSubstr("repeats the token"));
  EXPECT_EQ(requests().size(), 2U);
}

TEST_F(S3WholeListing, FailsAsAWholeIfOnePageFails) {
  enqueuePages({page(prefixes({"a/"}), "two")});
  enqueue(response(403, s3Error("AccessDenied")));
  const auto listing = list();
  ASSERT_FALSE(listing.isSuccess());
  EXPECT_EQ(listing.getError().exceptionName, "AccessDenied");
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 0);
}

TEST_F(S3WholeListing, RetriesEachPageByItself) {
  enqueuePages({page(prefixes({"a/"}), "two")});
  enqueue(response(503, s3Error("SlowDown")));
  enqueuePages({lastPage(prefixes({"b/"}))});
  EXPECT_THAT(list().getResult().commonPrefixes, ElementsAre("a/", "b/"));
  EXPECT_EQ(addresses()[1], addresses()[2]);
}

TEST_F(S3WholeListing, KeepsTheRegionThatTheFirstPageFound) {
  enqueue(response(400, s3Error("AuthorizationHeaderMalformed", "<Region>eu-west-1</Region>")));
  enqueuePages({page("", "two"), page("", "three"), lastPage("")});
  ASSERT_TRUE(list().isSuccess());
  EXPECT_THAT(regions(), ElementsAre("us-east-1", "eu-west-1", "eu-west-1", "eu-west-1"));
}

TEST_F(S3WholeListing, KeepsTheEncodingThatTheFirstPageNeeded) {
  const std::string encoded = "<EncodingType>url</EncodingType>";
  enqueuePages({"<ListBucketResult>", page(encoded + prefixes({"%01/"}), "two"),
                lastPage(encoded + prefixes({"%02+/"}))});
  EXPECT_THAT(list().getResult().commonPrefixes, ElementsAre("\x01/", "\x02 /"));
  EXPECT_THAT(addresses()[2], HasSubstr("encoding-type=url"));
  EXPECT_EQ(requests().size(), 3U);
}

TEST_F(S3WholeListing, MayNeedTheEncodingOnALaterPage) {
  enqueuePages({page(prefixes({"a/"}), "two"), "<ListBucketResult>",
                lastPage("<EncodingType>url</EncodingType>" + prefixes({"%01/"}))});
  EXPECT_THAT(list().getResult().commonPrefixes, ElementsAre("a/", "\x01/"));
}

TEST_F(S3WholeListing, SharesTheTimeOfOneCall) {
  for (int number = 0; number < 3; ++number) {
    enqueue([this, number](const auto&) {
      pass(std::chrono::minutes(4));
      return response(200, page("", std::to_string(number)));
    });
  }
  const auto listing = list();
  ASSERT_FALSE(listing.isSuccess());
  EXPECT_EQ(listing.getError().exceptionName, "CallTimeout");
  EXPECT_EQ(requests().size(), 3U);
}

TEST_F(S3WholeListing, SharesTheBudgetOfItsRequest) {
  CallBudget budget;
  for (std::size_t used = 0; used < CallBudget::kRequests - 2; ++used) budget.takeRequest();
  enqueuePages({page("", "two"), page("", "three"), lastPage("")});
  Model::ListObjectsV2Request request = requestForFolders();
  request.budget = &budget;
  EXPECT_FALSE(makeClient(kStore)->listObjectsV2(request).isSuccess());
  EXPECT_EQ(requests().size(), 2U);
}

TEST_F(S3WholeListing, AppliesToSessionsThatAreOpen) {
  vemlo_client_set_whole_s3_listings(0);
  const auto client = makeClient(kStore);
  enqueuePages({page("", "two"), page("", "two"), lastPage("")});
  client->listObjectsV2(requestForFolders());
  EXPECT_EQ(requests().size(), 1U);
  vemlo_client_set_whole_s3_listings(1);
  client->listObjectsV2(requestForFolders());
  EXPECT_EQ(requests().size(), 3U);
}

// The other services

class AzureListing : public ListingTest, protected TestSupport::AzureFixture {};

TEST_F(AzureListing, IsCutShortUntilTheLastPage) {
  const auto client = makeClient();
  enqueue(response(200,
                   "<EnumerationResults><Blobs><Blob><Name>a</Name></Blob><BlobPrefix>"
                   "<Name>b/</Name></BlobPrefix></Blobs><NextMarker>more</NextMarker>"
                   "</EnumerationResults>"));
  enqueue(response(200, "<EnumerationResults><NextMarker/></EnumerationResults>"));
  CloudStorage::Client::AzureSSB::Model::ListBlobRequest request;
  request.container = "photos";
  EXPECT_EQ(client->listBlob(request).getResult().entryCount(), 2U);
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 1);
  EXPECT_EQ(client->listBlob(request).getResult().entryCount(), 0U);
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 0);
}

TEST_F(AzureListing, OfContainersToo) {
  const auto client = makeClient();
  enqueue(response(200,
                   "<EnumerationResults><Containers><Container><Name>a</Name></Container>"
                   "</Containers><NextMarker>more</NextMarker></EnumerationResults>"));
  enqueue(response(403));
  const CloudStorage::Client::AzureSSB::Model::ListContainerRequest request;
  EXPECT_EQ(client->listContainer(request).getResult().entryCount(), 1U);
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 1);
  EXPECT_FALSE(client->listContainer(request).isSuccess());
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 0);
}

template <typename Drive>
class DriveListingExtent : public ListingTest, protected TestSupport::DriveFixture<Drive> {};

TYPED_TEST_SUITE(DriveListingExtent, TestSupport::Drives, TestSupport::DriveName);

// A host's own loop may stop early; those of the library do not.
TYPED_TEST(DriveListingExtent, IsThatOfTheLastPage) {
  using Operations = TestSupport::DriveOperations<TypeParam>;
  const std::string entries = std::string("{\"") + Operations::kEntries +
                              R"(":[{"id":"1","name":"a","folder":{},"path_lower":"/a"}],")" +
                              Operations::kNext + "\":\"";
  const auto client = this->makeClient();
  this->enqueue(response(200, entries + R"(https://graph.microsoft.com/v1.0/2","has_more":true})"));
  this->enqueue(response(200, std::string("{\"") + Operations::kEntries + "\":[]}"));
  const auto first = Operations::list(*client, "folder", "https://graph.microsoft.com/v1.0/1");
  ASSERT_TRUE(first.isSuccess()) << first.getError().message;
  EXPECT_EQ(first.getResult().entryCount(), 1U);
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 1);
  const auto last = Operations::list(*client, "folder", "https://graph.microsoft.com/v1.0/2");
  ASSERT_TRUE(last.isSuccess()) << last.getError().message;
  EXPECT_EQ(last.getResult().entryCount(), 0U);
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 0);
}

class OneDriveListingExtent : public ListingTest, protected TestSupport::OneDriveFixture {};

TEST_F(OneDriveListingExtent, CountsTheItemsThatAreFilteredOut) {
  enqueue(response(200, R"({"value":[{"id":"1","folder":{}},{"id":"2"},{"id":"3"}]})"));
  CloudStorage::Client::OneDrive::Model::ListChildrenRequest request;
  request.itemId = "root";
  request.filter = "folder ne null";
  const auto page = makeClient()->listChildren(request);
  EXPECT_EQ(page.getResult().items.size(), 1U);
  EXPECT_EQ(page.getResult().entryCount(), 3U);
}

// The drive is asked for before the listing, whose failure this is then, too.
TEST_F(OneDriveListingExtent, ForgetsTheLastListingWhenTheDriveIsAskedFor) {
  TestSupport::S3Fixture store;
  store.enqueue(response(200, page("", "more")));
  Model::ListObjectsV2Request listing;
  listing.bucket = "photos";
  store.makeClient(kStore)->listObjectsV2(listing);
  ASSERT_EQ(vemlo_client_was_listing_cut_short(), 1);
  enqueue(response(503));
  EXPECT_FALSE(makeClient()->getDriveMetadata({}).isSuccess());
  EXPECT_EQ(vemlo_client_was_listing_cut_short(), 0);
}

}  // namespace
