#include <gmock/gmock.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "free_recorder.h"
#include "libvemlo.h"
#include "libvemlo/session.h"
#include "object_store_world.h"
#include "support/log_capture.h"
#include "support/mock_azure_ssb_client.h"

namespace {

using CloudStorage::Client::AzureSSB::AzureSSBClient;
using CloudStorage::Client::AzureSSB::Model::ListBlobRequest;
using CloudStorage::Client::AzureSSB::Model::ListBlobResult;
using CloudStorage::Client::AzureSSB::Model::PutBlobRequest;
using CloudStorage::Client::AzureSSB::Model::PutBlobResult;
using testing::_;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::Return;
using testing::SaveArg;
using TestSupport::errorLine;
using TestSupport::MockAzureSSBClient;
using UnitTests::accessDenied;
using UnitTests::IsAbsent;
using UnitTests::IsPresentAs;
using UnitTests::numberedNames;
using UnitTests::PageTexts;
using UnitTests::unreadableSession;

using Answer = std::function<MockAzureSSBClient::ListBlobOutcome()>;

// Made anew when its turn comes, so that its texts are gone as soon as the library lets go of them.
Answer page(std::vector<std::string> prefixes, std::string nextMarker) {
  return [prefixes = std::move(prefixes), nextMarker = std::move(nextMarker)] {
    const PageTexts texts(prefixes);
    ListBlobResult result;
    result.page = texts.page();
    for (const auto name : texts.views()) result.blobPrefixes.push_back({name});
    result.blobs = {{"photos/"}, {"photos/a.jpg"}};  // a folder's own marker, and a file
    result.nextMarker = nextMarker;
    return result;
  };
}

template <typename Marker>
auto requestWith(const std::string& prefix, Marker marker) {
  return AllOf(Field("container", &ListBlobRequest::container, IsPresentAs("a-container")),
               Field("prefix", &ListBlobRequest::prefix, IsPresentAs(prefix)),
               Field("marker", &ListBlobRequest::marker, marker),
               Field("maxResults", &ListBlobRequest::maxResults, IsPresentAs(100)),
               Field("delimiter", &ListBlobRequest::delimiter, IsPresentAs("/")),
               Field("contentType", &ListBlobRequest::contentType, "application/xml"));
}

auto firstRequest() { return requestWith("photos/", IsAbsent()); }
auto requestAfter(const std::string& marker) { return requestWith("photos/", IsPresentAs(marker)); }

// The client is a substitute that fails the test on any call that it was not told to expect.
class AzureDirectories : public testing::Test {
 protected:
  AzureDirectories() {
    handle_->azure_ssb_client = std::make_shared<testing::StrictMock<MockAzureSSBClient>>();
  }

  MockAzureSSBClient& client() {
    return static_cast<MockAzureSSBClient&>(*handle_->azure_ssb_client);
  }

  UnitTests::OwnedSession handle_{new session};
  TestSupport::LogCapture log_;
};

class AzureListDirectory : public AzureDirectories {
 protected:
  ~AzureListDirectory() override {
    if (!outs_.areUntouched()) free_diretories(outs_.list, outs_.count);
  }

  int list(const char* prefix = "photos/") {
    return azure_ssb_list_directory(handle_.get(), "a-container", prefix, &outs_.list,
                                    &outs_.count);
  }

  // One answer a request, and no request more.
  void willAnswer(std::vector<Answer> answers) {
    const int count = static_cast<int>(answers.size());
    EXPECT_CALL(client(), listBlob(_))
        .Times(count)
        .WillRepeatedly([this, answers = std::move(answers)](const ListBlobRequest& request) {
          sent_.push_back(request);
          return answers.at(sent_.size() - 1)();
        });
  }

  UnitTests::ListOuts<directory> outs_;
  std::vector<ListBlobRequest> sent_;
};

class AzureCreateDirectory : public AzureDirectories {};

TEST_F(AzureListDirectory, AsksForTheFirstPageTwiceAndUsesTheSecondAnswer) {
  willAnswer({page({"photos/probed/"}, "marker of the probe"), page({"photos/2019/"}, "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(sent_, ElementsAre(firstRequest(), firstRequest()));
  EXPECT_THAT(outs_.names(), ElementsAre("photos/2019/"));
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AzureListDirectory, ListsTwoHundredThirtyFoldersInFourRequests) {
  const Answer firstPage = page(numberedNames(0, 100, "/"), "first marker");
  willAnswer({firstPage, firstPage, page(numberedNames(100, 100, "/"), "second/marker="),
              page(numberedNames(200, 30, "/"), "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(sent_, ElementsAre(firstRequest(), firstRequest(), requestAfter("first marker"),
                                 requestAfter("second/marker=")));
  EXPECT_EQ(outs_.names(), numberedNames(0, 230, "/"));
}

TEST_F(AzureListDirectory, GoesOnAfterPagesThatHoldFilesOnly) {
  willAnswer({page({}, "1"), page({}, "1"), page({"photos/a/"}, "2"), page({}, "3"), page({}, "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(sent_, ElementsAre(firstRequest(), firstRequest(), requestAfter("1"),
                                 requestAfter("2"), requestAfter("3")));
  EXPECT_THAT(outs_.names(), ElementsAre("photos/a/"));
}

TEST_F(AzureListDirectory, HasNoLimitOfPages) {
  std::vector<Answer> answers{page({}, "")};
  for (int i = 0; i < 300; ++i) answers.push_back(page(numberedNames(i, 1, "/"), "next"));
  answers.push_back(page({}, ""));
  willAnswer(answers);

  ASSERT_EQ(list(), 0);
  EXPECT_EQ(sent_.size(), 302U);
  EXPECT_EQ(outs_.names(), numberedNames(0, 300, "/"));
}

TEST_F(AzureListDirectory, TheEmptyPrefixIsSentAndListsTheTopLevel) {
  willAnswer({page({}, ""), page({"photos/", "music/"}, "")});

  ASSERT_EQ(list(""), 0);
  EXPECT_THAT(sent_, ElementsAre(requestWith("", IsAbsent()), requestWith("", IsAbsent())));
  EXPECT_THAT(outs_.names(), ElementsAre("photos/", "music/"));
}

TEST_F(AzureListDirectory, SendsThePrefixAsGiven) {
  for (const char* prefix : {"photos", "/", "//a", " a/", "\xC3\xA4/", "a/../b/"}) {
    SCOPED_TRACE(prefix);
    sent_.clear();
    willAnswer({page({}, ""), page({}, "")});
    EXPECT_EQ(list(prefix), 0);
    EXPECT_THAT(sent_,
                ElementsAre(requestWith(prefix, IsAbsent()), requestWith(prefix, IsAbsent())));
  }
}

TEST_F(AzureListDirectory, LeavesTheContainerToTheServicesJudgement) {
  for (const char* container : {"", "UPPER", "a/b", "\xC3\xA4"}) {
    SCOPED_TRACE(container);
    EXPECT_CALL(client(), listBlob(Field(&ListBlobRequest::container, IsPresentAs(container))))
        .Times(2)
        .WillRepeatedly(Return(ListBlobResult{}));
    EXPECT_EQ(azure_ssb_list_directory(handle_.get(), container, "", &outs_.list, &outs_.count), 0);
  }
}

TEST_F(AzureListDirectory, GivesNoFolderAnId) {
  willAnswer({page({}, ""), page({"photos/2019/", "photos/2020/"}, "")});

  ASSERT_EQ(list(), 0);
  ASSERT_EQ(outs_.count, 2);
  EXPECT_EQ(outs_.list[0].id, nullptr);
  EXPECT_EQ(outs_.list[1].id, nullptr);
}

TEST_F(AzureListDirectory, KeepsTheServicesOrderAndEveryByteAndDuplicates) {
  willAnswer({page({}, ""), page({"z/", "", "no slash", "a/"}, "m"),
              page({"a/", "\xC3\xA4\xFF/", " /"}, "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(outs_.names(), ElementsAre("z/", "", "no slash", "a/", "a/", "\xC3\xA4\xFF/", " /"));
}

TEST_F(AzureListDirectory, FillsTheOutsWithSeparateBlocksOfTheStandardAllocator) {
  willAnswer({page({}, ""), page({"one/", "two/"}, "")});

  ASSERT_EQ(list(), 0);
  ASSERT_EQ(outs_.count, 2);
  std::free(outs_.list[0].name);
  std::free(outs_.list[1].name);
  std::free(outs_.list);
  outs_ = {};
}

TEST_F(AzureListDirectory, AFolderWithoutFoldersGivesANullArrayAfterTwoEqualRequests) {
  willAnswer({page({}, ""), page({}, "")});

  EXPECT_EQ(list(), 0);
  EXPECT_THAT(sent_, ElementsAre(firstRequest(), firstRequest()));
  EXPECT_TRUE(outs_.areCleared());
  EXPECT_THAT(log_.records(), IsEmpty());
  const UnitTests::FreeRecorder recorder;
  free_diretories(outs_.list, outs_.count);
  EXPECT_THAT(recorder.freed(), IsEmpty());
}

TEST_F(AzureListDirectory, ClearsTheOutsBeforeTheFirstRequest) {
  willAnswer({[this] {
    EXPECT_TRUE(outs_.areCleared());
    return accessDenied();
  }});
  EXPECT_EQ(list(), 15);
}

TEST_F(AzureListDirectory, FailureOfTheProbeEndsTheListing) {
  willAnswer({accessDenied});

  EXPECT_EQ(list(), 15);
  EXPECT_THAT(sent_, ElementsAre(firstRequest()));
  EXPECT_TRUE(outs_.areCleared());
  EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::kAccessDeniedLine)));
}

TEST_F(AzureListDirectory, FailureOnTheFirstPageAfterAGoodProbeEndsTheListing) {
  willAnswer({page({"photos/a/"}, "m"), accessDenied});

  EXPECT_EQ(list(), 15);
  EXPECT_THAT(sent_, ElementsAre(firstRequest(), firstRequest()));
  EXPECT_TRUE(outs_.areCleared());
  EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::kAccessDeniedLine)));
}

TEST_F(AzureListDirectory, FailureOnTheSecondPageDiscardsTheFirst) {
  const Answer firstPage = page({"photos/a/", "photos/b/"}, "m");
  willAnswer({firstPage, firstPage, accessDenied});

  EXPECT_EQ(list(), 15);
  EXPECT_THAT(sent_, ElementsAre(firstRequest(), firstRequest(), requestAfter("m")));
  EXPECT_TRUE(outs_.areCleared());
  EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::kAccessDeniedLine)));
}

TEST_F(AzureListDirectory, ReturnsWhateverErrorTypeTheClientGives) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    for (const bool probeFails : {true, false}) {
      SCOPED_TRACE(testing::Message() << type << (probeFails ? " for the probe" : ""));
      log_.clear();
      outs_ = {};
      sent_.clear();
      std::vector<Answer> answers{[type] { return UnitTests::errorOfType(type); }};
      if (!probeFails) answers.insert(answers.begin(), page({}, ""));
      willAnswer(answers);
      EXPECT_EQ(list(), static_cast<int>(type));
      EXPECT_TRUE(outs_.areCleared());
      EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::lineOfErrorType(type))));
    }
  }
}

TEST_F(AzureListDirectory, KeepsTheClientWhileTheSessionIsClosedAndNoLonger) {
  const std::weak_ptr<void> alive = handle_->azure_ssb_client;
  willAnswer({[this] {
                handle_.reset();
                return page({}, "")();
              },
              page({"one/"}, "m"), page({"two/"}, "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(outs_.names(), ElementsAre("one/", "two/"));
  EXPECT_TRUE(alive.expired());
}

TEST_F(AzureListDirectory, RefusesEachNullArgumentAndLeavesTheOutsAlone) {
  auto* list = &outs_.list;
  int* count = &outs_.count;
  EXPECT_EQ(azure_ssb_list_directory(nullptr, "c", "", list, count), -1);
  EXPECT_EQ(azure_ssb_list_directory(handle_.get(), nullptr, "", list, count), -1);
  EXPECT_EQ(azure_ssb_list_directory(handle_.get(), "c", nullptr, list, count), -1);
  EXPECT_EQ(azure_ssb_list_directory(handle_.get(), "c", "", nullptr, count), -1);
  EXPECT_EQ(azure_ssb_list_directory(handle_.get(), "c", "", list, nullptr), -1);
  EXPECT_TRUE(outs_.areUntouched());
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AzureListDirectory, RefusesANullSessionWhateverElseIsNull) {
  EXPECT_EQ(azure_ssb_list_directory(nullptr, "c", "", nullptr, &outs_.count), -1);
  EXPECT_EQ(azure_ssb_list_directory(nullptr, "c", "", &outs_.list, nullptr), -1);
  EXPECT_EQ(azure_ssb_list_directory(nullptr, nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_TRUE(outs_.areUntouched());
}

TEST_F(AzureListDirectory, ChecksAllArgumentsBeforeItLooksIntoTheSession) {
  session* handle = unreadableSession();
  auto* list = &outs_.list;
  int* count = &outs_.count;
  EXPECT_EQ(azure_ssb_list_directory(handle, nullptr, "", list, count), -1);
  EXPECT_EQ(azure_ssb_list_directory(handle, "c", nullptr, list, count), -1);
  EXPECT_EQ(azure_ssb_list_directory(handle, "c", "", nullptr, count), -1);
  EXPECT_EQ(azure_ssb_list_directory(handle, "c", "", list, nullptr), -1);
  EXPECT_TRUE(outs_.areUntouched());
}

TEST_F(AzureListDirectory, RefusesASessionOfAnotherServiceAfterClearingTheOuts) {
  UnitTests::withSessionsOfOthersThan("AzureSSB", [this](session* other) {
    log_.clear();
    outs_ = {};
    EXPECT_EQ(azure_ssb_list_directory(other, "c", "", &outs_.list, &outs_.count), -1);
    EXPECT_TRUE(outs_.areCleared());
    EXPECT_THAT(log_.records(), IsEmpty());
  });
}

TEST_F(AzureCreateDirectory, SendsOneEmptyBlockBlobNamedLikeTheFolder) {
  PutBlobRequest sent;
  EXPECT_CALL(client(), putBlob(_))
      .WillOnce(testing::DoAll(SaveArg<0>(&sent), Return(PutBlobResult{})));

  EXPECT_EQ(azure_ssb_create_directory(handle_.get(), "a-container", "photos/2020/"), 0);
  EXPECT_EQ(sent.container, "a-container");
  EXPECT_THAT(sent.contentLength, IsPresentAs(0));
  EXPECT_THAT(sent.blob, IsPresentAs("photos/2020/"));
  EXPECT_THAT(sent.blobType, IsPresentAs(AzureSSBClient::BLOB_TYPE_BLOCK_BLOB));
  EXPECT_EQ(sent.body, nullptr);
  EXPECT_EQ(sent.contentType, "application/xml");  // that of all requests to the service
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AzureCreateDirectory, SendsEveryUsablePathAsGivenAndMakesNoParents) {
  for (const char* path : UnitTests::kUsableFolderKeys) {
    SCOPED_TRACE(path);
    EXPECT_CALL(client(), putBlob(Field(&PutBlobRequest::blob, IsPresentAs(path))))
        .WillOnce(Return(PutBlobResult{}));
    EXPECT_EQ(azure_ssb_create_directory(handle_.get(), "c", path), 0);
  }
}

TEST_F(AzureCreateDirectory, RefusesPathsThatNameNoFolder) {
  for (const char* path : UnitTests::kUnusableFolderKeys) {
    SCOPED_TRACE(path);
    EXPECT_EQ(azure_ssb_create_directory(handle_.get(), "c", path), -1);
  }
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AzureCreateDirectory, LeavesTheContainerToTheServicesJudgement) {
  for (const char* container : {"", "UPPER", "a/b", "\xC3\xA4"}) {
    SCOPED_TRACE(container);
    EXPECT_CALL(client(), putBlob(Field(&PutBlobRequest::container, container)))
        .WillOnce(Return(PutBlobResult{}));
    EXPECT_EQ(azure_ssb_create_directory(handle_.get(), container, "a/"), 0);
  }
}

TEST_F(AzureCreateDirectory, FailsSilentlyWithWhateverErrorTypeTheClientGives) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    SCOPED_TRACE(type);
    EXPECT_CALL(client(), putBlob(_)).WillOnce(Return(UnitTests::errorOfType(type)));
    EXPECT_EQ(azure_ssb_create_directory(handle_.get(), "c", "a/"), static_cast<int>(type));
  }
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AzureCreateDirectory, KeepsTheClientWhileTheSessionIsClosedAndNoLonger) {
  const std::weak_ptr<void> alive = handle_->azure_ssb_client;
  EXPECT_CALL(client(), putBlob(_)).WillOnce([&](const PutBlobRequest&) {
    handle_.reset();
    EXPECT_FALSE(alive.expired());
    return accessDenied();
  });

  EXPECT_EQ(azure_ssb_create_directory(handle_.get(), "c", "a/"), 15);
  EXPECT_TRUE(alive.expired());
}

TEST_F(AzureCreateDirectory, RefusesANullSessionAndANullPath) {
  EXPECT_EQ(azure_ssb_create_directory(nullptr, "c", "a/"), -1);
  EXPECT_EQ(azure_ssb_create_directory(handle_.get(), "c", nullptr), -1);
  EXPECT_EQ(azure_ssb_create_directory(nullptr, nullptr, nullptr), -1);
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AzureCreateDirectory, ChecksThePathBeforeItLooksIntoTheSessionOrAtTheContainer) {
  EXPECT_EQ(azure_ssb_create_directory(unreadableSession(), nullptr, nullptr), -1);
  for (const char* path : UnitTests::kUnusableFolderKeys) {
    SCOPED_TRACE(path);
    EXPECT_EQ(azure_ssb_create_directory(unreadableSession(), nullptr, path), -1);
  }
}

TEST_F(AzureCreateDirectory, RefusesASessionOfAnotherServiceWhateverTheContainerIs) {
  UnitTests::withSessionsOfOthersThan("AzureSSB", [this](session* other) {
    log_.clear();
    EXPECT_EQ(azure_ssb_create_directory(other, "c", "a/"), -1);
    EXPECT_EQ(azure_ssb_create_directory(other, nullptr, "a/"), -1);
    EXPECT_THAT(log_.records(), IsEmpty());
  });
}

}  // namespace
