#include <gmock/gmock.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "binding_fixture.h"

namespace CppBinding {
namespace {

using std::chrono_literals::operator""ms;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using TestSupport::alwaysSend;
using TestSupport::httpResponse;
using TestSupport::LoopbackServer;
using vemlo::Kind;

class CppCalls : public BindingTest {};

/// A script that receives a request and never responds.
void stayedSilent(LoopbackServer::Connection& connection) {
  connection.readRequest();
  connection.waitUntilClosed();
}

TEST_F(CppCalls, ListingIsARange) {
  const LoopbackServer server(alwaysSend(buckets()));
  const auto names = storeOf(server).buckets();
  EXPECT_EQ(names.size(), 2U);
  EXPECT_FALSE(names.empty());
  EXPECT_FALSE(names.isCutShort());
  EXPECT_EQ(names[1], "b");
  EXPECT_THAT(std::vector<std::string>(names.begin(), names.end()), ElementsAre("a", "b"));
}

TEST_F(CppCalls, MovedListingIsEmpty) {
  const LoopbackServer server(alwaysSend(buckets()));
  auto names = storeOf(server).buckets();
  const auto taken = std::move(names);
  EXPECT_EQ(taken.size(), 2U);
  EXPECT_TRUE(names.empty());  // NOLINT(bugprone-use-after-move): what is tested here
}

TEST_F(CppCalls, EmptyListingHasNoEntries) {
  const LoopbackServer server(alwaysSend(
      httpResponse("200 OK", "<ListAllMyBucketsResult><Buckets/></ListAllMyBucketsResult>")));
  const auto names = storeOf(server).buckets();
  EXPECT_TRUE(names.empty());
  EXPECT_EQ(names.begin(), names.end());
}

TEST_F(CppCalls, FailureHasTheDetailsOfTheResponse) {
  const LoopbackServer server(alwaysSend(httpResponse(
      "403 Forbidden", "<Error><Code>AccessDenied</Code><Message>No.</Message></Error>",
      "x-amz-request-id: tx-1\r\n")));
  const auto failure = failureOf([&] { storeOf(server).buckets(); });
  EXPECT_EQ(failure.kind(), Kind::Denied);
  const auto& details = failure.details();
  EXPECT_EQ(details.service, vemlo::Service::S3);
  EXPECT_EQ(details.code, details.error);
  EXPECT_EQ(details.httpStatus, 403);
  EXPECT_EQ(details.retryAfter, std::nullopt);
  EXPECT_EQ(details.operation, "listBuckets");
  EXPECT_EQ(details.serviceCode, "AccessDenied");
  EXPECT_EQ(details.serviceMessage, "No.");
  EXPECT_EQ(details.requestId, "tx-1");
  EXPECT_STREQ(failure.what(), "listBuckets failed (denied): AccessDenied: No.");
}

TEST_F(CppCalls, SuccessAfterAFailureThrowsNothing) {
  const TestSupport::RefusingPort nobody;
  EXPECT_EQ(failureOf([&] { storeAt(nobody.number()).createBucket("b", 16); }).kind(),
            Kind::Offline);
  const LoopbackServer server(alwaysSend(buckets()));
  EXPECT_EQ(storeOf(server).buckets().size(), 2U);
}

TEST_F(CppCalls, TextWithANulIsBadArguments) {
  const LoopbackServer server(alwaysSend(buckets()));
  const auto store = storeOf(server);
  const std::string_view cut("a\0b", 3);
  for (const auto& failure :
       {failureOf([&] { store.createBucket(cut, 16); }), failureOf([&] { store.folders(cut, ""); }),
        failureOf([&] { store.folders("a", cut); }),
        failureOf([&] { store.createFolder("a", cut); }), failureOf([&] { vemlo::encrypt(cut); }),
        failureOf([&] {
          vemlo::S3({std::string(cut), "", "", ""});
        }),
        failureOf([&] {
          vemlo::S3({"", "", "", ""}, {std::string(cut)});
        }),
        failureOf([&] { vemlo::Drive(vemlo::Service::Dropbox).authorizeUrl(cut); }), failureOf([&] {
          vemlo::Drive(vemlo::Service::Dropbox).setTokens({std::string(cut), ""});
        }),
        failureOf([&] {
          vemlo::accountOf(vemlo::Service::Dropbox, {std::string(cut), ""});
        })}) {
    EXPECT_EQ(failure.kind(), Kind::HostFault);
    EXPECT_EQ(failure.details().code, -1);
    EXPECT_THAT(failure.what(), HasSubstr("NUL"));
  }
  EXPECT_EQ(server.connectionCount(), 0U);
}

TEST_F(CppCalls, MovedSessionIsBadArguments) {
  vemlo::S3 store({"", "", "", ""});
  const auto taken = std::move(store);
  const auto failure = failureOf([&] { store.buckets(); });  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(failure.kind(), Kind::HostFault);
  EXPECT_EQ(failure.details().code, -1);
}

TEST_F(CppCalls, DeadlineEndsTheCall) {
  LoopbackServer server(stayedSilent);
  const auto store = storeOf(server);
  EXPECT_EQ(failureOf([&] { store.buckets(vemlo::Call::within(50ms)); }).kind(), Kind::Deadline);
  EXPECT_EQ(failureOf([&] { store.buckets(vemlo::Call::within(-1ms)); }).kind(), Kind::Deadline);
}

TEST_F(CppCalls, CancellationEndsTheCallAndCanBeUsedAgain) {
  vemlo::Cancellation cancellation;
  const LoopbackServer server([&](LoopbackServer::Connection& connection) {
    connection.readRequest();
    if (server.connectionCount() > 1) return void(connection.send(buckets()));
    cancellation.trigger();
    connection.waitUntilClosed();
  });
  const auto store = storeOf(server);
  vemlo::Call call;
  call.cancellation = &cancellation;
  EXPECT_EQ(failureOf([&] { store.buckets(call); }).kind(), Kind::Cancelled);
  EXPECT_TRUE(cancellation.isTriggered());
  cancellation.reset();
  EXPECT_EQ(store.buckets(call).size(), 2U);
}

TEST_F(CppCalls, NothingOfACallRemainsOnTheThread) {
  const LoopbackServer server(alwaysSend(buckets()));
  const auto store = storeOf(server);
  int reports = 0;
  {
    vemlo::Cancellation cancellation;
    vemlo::Call call = vemlo::Call::within(10'000ms);
    call.cancellation = &cancellation;
    call.progress = [&reports](const vemlo::Progress&) { return ++reports > 0; };
    store.buckets(call);
    cancellation.trigger();
  }
  EXPECT_EQ(store.buckets().size(), 2U);
  EXPECT_EQ(reports, 1);
}

TEST_F(CppCalls, TimesAtTheEdgesAreNoOverflow) {
  using std::chrono::milliseconds;
  const LoopbackServer server(alwaysSend(buckets()));
  const auto store = storeOf(server);
  EXPECT_EQ(store.buckets(vemlo::Call::within(milliseconds::max())).size(), 2U);
  vemlo::Call call;
  for (const auto passed : {std::chrono::steady_clock::time_point::min(),
                            *vemlo::Call::within(milliseconds::min()).deadline}) {
    call.deadline = passed;
    EXPECT_EQ(failureOf([&] { store.buckets(call); }).kind(), Kind::Deadline);
  }
}

TEST_F(CppCalls, CallInACallbackLeavesTheOuterCallAsItWas) {
  const LoopbackServer other(alwaysSend(buckets()));
  const auto otherStore = storeOf(other);
  const LoopbackServer server([](LoopbackServer::Connection& connection) {
    connection.readRequest();
    connection.send(httpResponse("200 OK",
                                 "<ListBucketResult><IsTruncated>true</IsTruncated>"
                                 "<NextContinuationToken>n</NextContinuationToken>"
                                 "</ListBucketResult>"));
    stayedSilent(connection);
  });
  vemlo::Cancellation cancellation;
  vemlo::Call inner = vemlo::Call::within(10'000ms);
  inner.cancellation = &cancellation;
  inner.progress = [](const vemlo::Progress&) { return true; };
  int reports = 0;
  vemlo::Call outer = vemlo::Call::within(300ms);
  outer.progress = [&](const vemlo::Progress&) {
    ++reports;
    EXPECT_EQ(otherStore.buckets(inner).size(), 2U);
    EXPECT_EQ(otherStore.buckets().size(), 2U);
    return true;
  };
  const auto failure = failureOf([&] { storeOf(server).folders("bucket", "", outer); });
  EXPECT_EQ(failure.kind(), Kind::Deadline);
  EXPECT_EQ(reports, 2);
}

TEST_F(CppCalls, EntriesAreReachedThroughIterators) {
  const LoopbackServer server(
      alwaysSend(httpResponse("200 OK",
                              "<ListBucketResult><CommonPrefixes><Prefix>a/</Prefix></"
                              "CommonPrefixes></ListBucketResult>")));
  const auto folders = storeOf(server).folders("bucket", "");
  EXPECT_EQ(folders.begin()->name(), "a/");
  EXPECT_EQ(folders.begin()->id(), "");
}

TEST_F(CppCalls, CallWithoutMembersLeavesTheThreadAsItIs) {
  const LoopbackServer server(alwaysSend(buckets()));
  const auto store = storeOf(server);
  vemlo::Cancellation cancellation;
  cancellation.trigger();
  vemlo_client_set_cancellation(cancellation.get());
  EXPECT_EQ(failureOf([&] { store.buckets(); }).kind(), Kind::Cancelled);
  EXPECT_EQ(failureOf([&] { store.buckets(); }).kind(), Kind::Cancelled);
  vemlo_client_set_cancellation(nullptr);
}

TEST_F(CppCalls, ProgressReportsAndEndsTheCall) {
  const std::string page =
      "<ListBucketResult><IsTruncated>true</IsTruncated><NextContinuationToken>n</"
      "NextContinuationToken><CommonPrefixes><Prefix>a/</Prefix></CommonPrefixes>"
      "</ListBucketResult>";
  const LoopbackServer server(alwaysSend(httpResponse("200 OK", page)));
  std::uint64_t requests = 0;
  std::uint64_t entries = 0;
  vemlo::Call call;
  call.progress = [&](const vemlo::Progress& progress) {
    EXPECT_EQ(progress.service, vemlo::Service::S3);
    EXPECT_EQ(progress.operation, "listObjectsV2");
    EXPECT_EQ(progress.bytes, progress.requests * page.size());
    requests = progress.requests;
    entries = progress.entries;
    return false;
  };
  const auto failure = failureOf([&] { storeOf(server).folders("bucket", "", call); });
  EXPECT_EQ(failure.kind(), Kind::Cancelled);
  EXPECT_EQ(requests, 1U);
  EXPECT_EQ(entries, 1U);
}

TEST_F(CppCalls, ExceptionOfTheProgressCallbackLeavesTheCall) {
  const LoopbackServer server(alwaysSend(buckets()));
  const auto store = storeOf(server);
  vemlo::Call call;
  call.progress = [](const vemlo::Progress&) -> bool { throw std::out_of_range("mine"); };
  EXPECT_THROW(store.buckets(call), std::out_of_range);
  EXPECT_EQ(store.buckets().size(), 2U);
}

}  // namespace
}  // namespace CppBinding
