#include <gmock/gmock.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "libvemlo.h"
#include "libvemlo/session.h"
#include "support/log_capture.h"
#include "support/mock_s3_client.h"

namespace {

using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Client::S3::Model::CreateBucketRequest;
using CloudStorage::Client::S3::Model::CreateBucketResult;
using CloudStorage::Client::S3::Model::ListBucketsResult;
using testing::_;
using TestSupport::MockS3Client;

constexpr int kThreads = 8;
constexpr int kCalls = 40;

template <typename Body>
void onSeveralThreads(const Body& body) {
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&body, i] {
      for (int call = 0; call < kCalls; ++call) body(i);
    });
  }
  for (auto& thread : threads) thread.join();
}

TEST(S3Concurrency, CallsOnOneSessionDoNotDisturbEachOther) {
  session handle;
  auto* client = new MockS3Client;
  handle.s3_client = client;
  EXPECT_CALL(*client, listBuckets()).WillRepeatedly([] {
    return ListBucketsResult{{{"one", ""}, {"two", ""}}};
  });
  // Fails for odd codes, so that calls log while others succeed.
  EXPECT_CALL(*client, createBucket(_))
      .WillRepeatedly([](const CreateBucketRequest& request) -> MockS3Client::CreateBucketOutcome {
        const auto code =
            static_cast<int>(request.createBucketConfiguration.value().locationConstraint.value());
        EXPECT_EQ(request.bucket, "bucket-" + std::to_string(code));
        if (code % 2 == 0) return CreateBucketResult{};
        return Error{static_cast<CoreErrors>(code), "E", "", {}, false, 400};
      });
  const TestSupport::LogCapture log;

  std::atomic<int> wrong{0};
  onSeveralThreads([&](int number) {
    char** buckets = nullptr;
    int count = 0;
    const std::string name = "bucket-" + std::to_string(number);
    if (s3_create_bucket(&handle, name.c_str(), number) != (number % 2 == 0 ? 0 : number)) ++wrong;
    if (s3_list_bucket(&handle, &buckets, &count) != 0 || count != 2) ++wrong;
    free_buckets(buckets, count);
  });
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(log.records().size(), static_cast<std::size_t>(kThreads / 2 * kCalls));
}

TEST(S3Concurrency, SessionsCanBeOpenedAndClosedOnSeveralThreadsOnceThereWasAFirst) {
  libvemlo_s3_cleanup(libvemlo_s3_init("", "", "", "", nullptr));
  std::atomic<int> opened{0};
  onSeveralThreads([&opened](int) {
    session* handle = libvemlo_google_drive_init(nullptr);
    if (handle != nullptr) ++opened;
    libvemlo_google_drive_cleanup(handle);
  });
  EXPECT_EQ(opened, kThreads * kCalls);
}

}  // namespace
