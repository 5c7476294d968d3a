#include <gmock/gmock.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <utility>

#include "azure_session_fixture.h"
#include "s3_session_fixture.h"

// The creation of folders in object stores.
namespace {

using CloudStorage::Client::Error;
using testing::_;
using testing::IsEmpty;
using TestSupport::AzureSSBModel::PutBlobRequest;
using TestSupport::AzureSSBModel::PutBlobResult;
using TestSupport::S3Model::PutObjectRequest;
using TestSupport::S3Model::PutObjectResult;
using UnitTests::expectRefusalOfSessionsOfOthersThan;
using UnitTests::unreadableSession;

/// An object store whose client fails the test on any unexpected request.
class Store {
 public:
  virtual ~Store() = default;

  /// Expects one request, which fails if there is an error.
  virtual void willCreate(std::optional<Error> error = std::nullopt) = 0;
  virtual session* handle() = 0;

  // Of the latest request.
  std::string bucket;
  std::string key;
};

class S3Store : public Store, private UnitTests::S3Fixture {
 public:
  void willCreate(std::optional<Error> error) override {
    using Outcome = TestSupport::OutcomeOf<PutObjectResult>;
    EXPECT_CALL(client(), putObject(_))
        .WillOnce([this, error = std::move(error)](const PutObjectRequest& request) {
          bucket = request.bucket;
          key = request.key.value();
          return error ? Outcome(*error) : Outcome(PutObjectResult{});
        });
  }
  session* handle() override { return &handle_; }
};

class AzureStore : public Store, private UnitTests::AzureFixture {
 public:
  void willCreate(std::optional<Error> error) override {
    using Outcome = TestSupport::OutcomeOf<PutBlobResult>;
    EXPECT_CALL(client(), putBlob(_))
        .WillOnce([this, error = std::move(error)](const PutBlobRequest& request) {
          bucket = request.container;
          key = request.blob.value();
          return error ? Outcome(*error) : Outcome(PutBlobResult{});
        });
  }
  session* handle() override { return &handle_; }
};

struct Case {
  std::string service;
  std::unique_ptr<Store> (*open)();
  int (*create)(session* handle, const char* bucket, const char* key);
};

void PrintTo(const Case& tested, std::ostream* out) { *out << tested.service; }

class ObjectStoreFolder : public testing::TestWithParam<Case> {
 protected:
  int create(const char* bucket, const char* key) {
    return GetParam().create(store_->handle(), bucket, key);
  }

  const std::unique_ptr<Store> store_ = GetParam().open();
  const TestSupport::LogCapture log_;
};

constexpr const char* kUsableKeys[] = {"a/", "a//", "x/y/",         "a/b/c/",
                                       " /", "../", "photos/2020/", "\xC3\xA4/"};
constexpr const char* kUnusableKeys[] = {"",   "a",   "/",        "//",    "/a/",
                                         "/a", "a/b", "\xC3\xA4", "a/b/c", "/a/b/c/"};

TEST_P(ObjectStoreFolder, IsCreatedWithEveryUsableKeyUnchangedAndWithoutParents) {
  for (const char* key : kUsableKeys) {
    SCOPED_TRACE(key);
    store_->willCreate();
    EXPECT_EQ(create("bucket", key), 0);
    EXPECT_EQ(store_->key, key);
  }
}

TEST_P(ObjectStoreFolder, IsRefusedWithAnUnusableKeyWhateverSessionAndBucketAre) {
  EXPECT_EQ(GetParam().create(unreadableSession(), nullptr, nullptr), -1);
  for (const char* key : kUnusableKeys) {
    SCOPED_TRACE(key);
    EXPECT_EQ(create("bucket", key), -1);
    EXPECT_EQ(GetParam().create(unreadableSession(), nullptr, key), -1);
  }
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(ObjectStoreFolder, IsRefusedForASessionOfAnotherServiceWhateverTheBucketIs) {
  expectRefusalOfSessionsOfOthersThan(
      GetParam().service, [](session* other) { return GetParam().create(other, nullptr, "a/"); });
}

TEST_P(ObjectStoreFolder, IsCreatedInABucketOfAnyName) {
  for (const char* bucket : UnitTests::kBucketNames) {
    SCOPED_TRACE(bucket);
    store_->willCreate();
    EXPECT_EQ(create(bucket, "a/"), 0);
    EXPECT_EQ(store_->bucket, bucket);
  }
}

TEST_P(ObjectStoreFolder, ReturnsEveryErrorTypeAndLogsNothing) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    SCOPED_TRACE(type);
    store_->willCreate(UnitTests::errorOfType(type));
    EXPECT_EQ(create("bucket", "a/"), static_cast<int>(type));
  }
  EXPECT_THAT(log_.records(), IsEmpty());
}

template <typename Opened>
std::unique_ptr<Store> open() {
  return std::make_unique<Opened>();
}

INSTANTIATE_TEST_SUITE_P(Services, ObjectStoreFolder,
                         testing::Values(Case{"S3", open<S3Store>, s3_create_directory},
                                         Case{"AzureSSB", open<AzureStore>,
                                              azure_ssb_create_directory}),
                         [](const auto& instance) { return instance.param.service; });

}  // namespace
