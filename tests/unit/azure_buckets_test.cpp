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

using CloudStorage::Client::AzureSSB::Model::CreateContainerRequest;
using CloudStorage::Client::AzureSSB::Model::CreateContainerResult;
using CloudStorage::Client::AzureSSB::Model::ListContainerRequest;
using CloudStorage::Client::AzureSSB::Model::ListContainerResult;
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

using Answer = std::function<MockAzureSSBClient::ListContainerOutcome()>;

// Made anew when its turn comes, so that its texts are gone as soon as the library lets go of them.
Answer page(std::vector<std::string> names, std::string nextMarker) {
  return [names = std::move(names), nextMarker = std::move(nextMarker)] {
    const PageTexts texts(names);
    ListContainerResult result;
    result.page = texts.page();
    for (const auto name : texts.views()) result.containers.push_back({name, "then", "tag"});
    result.nextMarker = nextMarker;
    return result;
  };
}

template <typename Marker>
auto requestWith(Marker marker) {
  return AllOf(Field("prefix", &ListContainerRequest::prefix, IsAbsent()),
               Field("marker", &ListContainerRequest::marker, marker),
               Field("maxResults", &ListContainerRequest::maxResults, IsPresentAs(100)),
               Field("contentType", &ListContainerRequest::contentType, "application/xml"));
}

// The client is a substitute that fails the test on any call that it was not told to expect.
class AzureBuckets : public testing::Test {
 protected:
  AzureBuckets() {
    handle_->azure_ssb_client = std::make_shared<testing::StrictMock<MockAzureSSBClient>>();
  }

  MockAzureSSBClient& client() {
    return static_cast<MockAzureSSBClient&>(*handle_->azure_ssb_client);
  }

  UnitTests::OwnedSession handle_{new session};
  TestSupport::LogCapture log_;
};

class AzureListBucket : public AzureBuckets {
 protected:
  ~AzureListBucket() override {
    if (!outs_.areUntouched()) free_buckets(outs_.list, outs_.count);
  }

  int list() { return azure_ssb_list_bucket(handle_.get(), &outs_.list, &outs_.count); }

  // One answer a request, and no request more.
  void willAnswer(std::vector<Answer> answers) {
    const int count = static_cast<int>(answers.size());
    EXPECT_CALL(client(), listContainer(_))
        .Times(count)
        .WillRepeatedly([this, answers = std::move(answers)](const ListContainerRequest& request) {
          sent_.push_back(request);
          return answers.at(sent_.size() - 1)();
        });
  }

  UnitTests::ListOuts<char*> outs_;
  std::vector<ListContainerRequest> sent_;
};

class AzureCreateBucket : public AzureBuckets {};

TEST_F(AzureListBucket, AsksForAHundredContainersWithoutFilterAndMarker) {
  willAnswer({page({"one", "two"}, "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(sent_, ElementsAre(requestWith(IsAbsent())));
  EXPECT_THAT(outs_.names(), ElementsAre("one", "two"));
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AzureListBucket, ListsTwoHundredFiftyContainersInThreeRequests) {
  willAnswer({page(numberedNames(0, 100, "c"), "first marker"),
              page(numberedNames(100, 100, "c"), "second/marker="),
              page(numberedNames(200, 50, "c"), "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(sent_, ElementsAre(requestWith(IsAbsent()), requestWith(IsPresentAs("first marker")),
                                 requestWith(IsPresentAs("second/marker="))));
  EXPECT_EQ(outs_.names(), numberedNames(0, 250, "c"));
}

TEST_F(AzureListBucket, GoesOnAfterPagesThatAreShortOrEmpty) {
  willAnswer({page({}, "1"), page({"only"}, "2"), page({}, "3"), page({}, "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(sent_, ElementsAre(requestWith(IsAbsent()), requestWith(IsPresentAs("1")),
                                 requestWith(IsPresentAs("2")), requestWith(IsPresentAs("3"))));
  EXPECT_THAT(outs_.names(), ElementsAre("only"));
}

TEST_F(AzureListBucket, HasNoLimitOfPages) {
  std::vector<Answer> answers;
  for (int i = 0; i < 300; ++i) answers.push_back(page(numberedNames(i, 1, ""), "next"));
  answers.push_back(page({}, ""));
  willAnswer(answers);

  ASSERT_EQ(list(), 0);
  EXPECT_EQ(sent_.size(), 301U);
  EXPECT_EQ(outs_.names(), numberedNames(0, 300, ""));
}

TEST_F(AzureListBucket, KeepsTheServicesOrderAndEveryByteAndDuplicates) {
  willAnswer({page({"z", "", "$logs", "a"}, "m"), page({"a", "\xC3\xA4\xFF", " "}, "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(outs_.names(), ElementsAre("z", "", "$logs", "a", "a", "\xC3\xA4\xFF", " "));
}

TEST_F(AzureListBucket, FillsTheOutsWithSeparateBlocksOfTheStandardAllocator) {
  willAnswer({page({"one", "two"}, "")});

  ASSERT_EQ(list(), 0);
  ASSERT_EQ(outs_.count, 2);
  std::free(outs_.list[0]);
  std::free(outs_.list[1]);
  std::free(outs_.list);
  outs_ = {};
}

TEST_F(AzureListBucket, AnAccountWithoutContainersGivesANullArrayAndACountOfZero) {
  willAnswer({page({}, "")});

  EXPECT_EQ(list(), 0);
  EXPECT_TRUE(outs_.areCleared());
  EXPECT_THAT(log_.records(), IsEmpty());
  const UnitTests::FreeRecorder recorder;
  free_buckets(outs_.list, outs_.count);
  EXPECT_THAT(recorder.freed(), IsEmpty());
}

TEST_F(AzureListBucket, ClearsTheOutsBeforeTheFirstRequest) {
  willAnswer({[this] {
    EXPECT_TRUE(outs_.areCleared());
    return accessDenied();
  }});
  EXPECT_EQ(list(), 15);
}

TEST_F(AzureListBucket, FailureOnTheFirstPageEndsTheListing) {
  willAnswer({accessDenied});

  EXPECT_EQ(list(), 15);
  EXPECT_TRUE(outs_.areCleared());
  EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::kAccessDeniedLine)));
}

TEST_F(AzureListBucket, FailureOnTheSecondPageDiscardsTheFirst) {
  willAnswer({page({"one", "two"}, "m"), accessDenied});

  EXPECT_EQ(list(), 15);
  EXPECT_THAT(sent_, ElementsAre(requestWith(IsAbsent()), requestWith(IsPresentAs("m"))));
  EXPECT_TRUE(outs_.areCleared());
  EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::kAccessDeniedLine)));
}

TEST_F(AzureListBucket, ReturnsWhateverErrorTypeTheClientGives) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    SCOPED_TRACE(type);
    log_.clear();
    outs_ = {};
    sent_.clear();
    willAnswer({[type] { return UnitTests::errorOfType(type); }});
    EXPECT_EQ(list(), static_cast<int>(type));
    EXPECT_TRUE(outs_.areCleared());
    EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::lineOfErrorType(type))));
  }
}

TEST_F(AzureListBucket, KeepsTheClientWhileTheSessionIsClosedAndNoLonger) {
  const std::weak_ptr<void> alive = handle_->azure_ssb_client;
  willAnswer({[this] {
                handle_.reset();
                return page({"one"}, "m")();
              },
              page({"two"}, "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(outs_.names(), ElementsAre("one", "two"));
  EXPECT_TRUE(alive.expired());
}

TEST_F(AzureListBucket, RefusesEachNullArgumentAndLeavesTheOutsAlone) {
  EXPECT_EQ(azure_ssb_list_bucket(nullptr, &outs_.list, &outs_.count), -1);
  EXPECT_EQ(azure_ssb_list_bucket(handle_.get(), nullptr, &outs_.count), -1);
  EXPECT_EQ(azure_ssb_list_bucket(handle_.get(), &outs_.list, nullptr), -1);
  EXPECT_TRUE(outs_.areUntouched());
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AzureListBucket, ChecksTheOutPointersBeforeTheSession) {
  for (session* handle : {static_cast<session*>(nullptr), unreadableSession()}) {
    EXPECT_EQ(azure_ssb_list_bucket(handle, nullptr, &outs_.count), -1);
    EXPECT_EQ(azure_ssb_list_bucket(handle, &outs_.list, nullptr), -1);
    EXPECT_EQ(azure_ssb_list_bucket(handle, nullptr, nullptr), -1);
  }
  EXPECT_TRUE(outs_.areUntouched());
}

TEST_F(AzureListBucket, RefusesASessionOfAnotherServiceAfterClearingTheOuts) {
  UnitTests::withSessionsOfOthersThan("AzureSSB", [this](session* other) {
    log_.clear();
    outs_ = {};
    EXPECT_EQ(azure_ssb_list_bucket(other, &outs_.list, &outs_.count), -1);
    EXPECT_TRUE(outs_.areCleared());
    EXPECT_THAT(log_.records(), IsEmpty());
  });
}

TEST_F(AzureCreateBucket, SendsTheNameOnceAndNoBody) {
  CreateContainerRequest sent;
  EXPECT_CALL(client(), createContainer(_))
      .WillOnce(testing::DoAll(SaveArg<0>(&sent), Return(CreateContainerResult{})));

  EXPECT_EQ(azure_ssb_create_bucket(handle_.get(), "a-container"), 0);
  EXPECT_EQ(sent.container, "a-container");
  EXPECT_EQ(sent.contentType, "application/xml");
  EXPECT_EQ(sent.getBody(), nullptr);
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AzureCreateBucket, LeavesTheNameToTheServicesJudgement) {
  for (const char* name : {"", "UPPER", "a/b", "\xC3\xA4", " ", "$root"}) {
    SCOPED_TRACE(name);
    EXPECT_CALL(client(), createContainer(Field(&CreateContainerRequest::container, name)))
        .WillOnce(Return(CreateContainerResult{}));
    EXPECT_EQ(azure_ssb_create_bucket(handle_.get(), name), 0);
  }
}

TEST_F(AzureCreateBucket, FailureReturnsWhateverErrorTypeTheClientGivesAndLogsItOnOneLine) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    SCOPED_TRACE(type);
    log_.clear();
    EXPECT_CALL(client(), createContainer(_)).WillOnce(Return(UnitTests::errorOfType(type)));
    EXPECT_EQ(azure_ssb_create_bucket(handle_.get(), "c"), static_cast<int>(type));
    EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::lineOfErrorType(type))));
  }
}

TEST_F(AzureCreateBucket, KeepsTheClientWhileTheSessionIsClosedAndNoLonger) {
  const std::weak_ptr<void> alive = handle_->azure_ssb_client;
  EXPECT_CALL(client(), createContainer(_)).WillOnce([&](const CreateContainerRequest&) {
    handle_.reset();
    EXPECT_FALSE(alive.expired());
    return accessDenied();
  });

  EXPECT_EQ(azure_ssb_create_bucket(handle_.get(), "c"), 15);
  EXPECT_TRUE(alive.expired());
}

TEST_F(AzureCreateBucket, RefusesANullSessionAndANullName) {
  EXPECT_EQ(azure_ssb_create_bucket(nullptr, "c"), -1);
  EXPECT_EQ(azure_ssb_create_bucket(handle_.get(), nullptr), -1);
  EXPECT_EQ(azure_ssb_create_bucket(nullptr, nullptr), -1);
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AzureCreateBucket, ChecksTheNameBeforeItLooksIntoTheSession) {
  EXPECT_EQ(azure_ssb_create_bucket(unreadableSession(), nullptr), -1);
}

TEST_F(AzureCreateBucket, RefusesASessionOfAnotherService) {
  UnitTests::withSessionsOfOthersThan("AzureSSB", [this](session* other) {
    log_.clear();
    EXPECT_EQ(azure_ssb_create_bucket(other, "c"), -1);
    EXPECT_THAT(log_.records(), IsEmpty());
  });
}

}  // namespace
