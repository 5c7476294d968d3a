#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "drive_operations.h"
#include "libvemlo.h"
#include "verbose_level.h"

namespace {

using CloudStorage::Client::AmazonDrive::Model::ComRequest;
using CloudStorage::Client::AmazonDrive::Model::GetEndpointResult;
using CloudStorage::Client::AmazonDrive::Model::GetProfileResult;
using testing::_;
using testing::ElementsAre;
using testing::Field;
using testing::InSequence;
using testing::IsEmpty;
using testing::Return;
using TestSupport::errorLine;
using UnitTests::AmazonDrive;
using UnitTests::failure;
using UnitTests::IsPresentAs;

constexpr char kCheckFailure[] = "Failed to get Endpoint. error: exceptionName It went wrong.";

auto plainRequest() { return Field(&ComRequest::contentType, "application/x-www-form-urlencoded"); }

/// A session that does not know the account's endpoints.
template <typename Base>
class WithEndpoints : public Base {
 protected:
  void expectEndpoints(const std::string& content, const std::string& metadata) {
    const auto endpoints = this->client().endpoints();
    EXPECT_EQ(endpoints.content, content);
    EXPECT_EQ(endpoints.metadata, metadata);
  }
};

class AmazonDriveGetEndpoint : public WithEndpoints<UnitTests::DriveTest<AmazonDrive>> {};

TEST_F(AmazonDriveGetEndpoint, KeepsContentAndMetadataAddressInTheSession) {
  EXPECT_CALL(client(), getEndpoint(plainRequest()))
      .WillOnce(Return(GetEndpointResult{"content", "metadata"}));

  EXPECT_EQ(amazon_drive_get_endpoint(handle_.get()), 0);
  expectEndpoints("content", "metadata");
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AmazonDriveGetEndpoint, AsksEvenIfTheEndpointsAreKnownAndOverwritesThem) {
  client().setEndpoints({"old content", "old metadata"});
  EXPECT_CALL(client(), getEndpoint(_)).WillOnce(Return(GetEndpointResult{"new content", ""}));

  EXPECT_EQ(amazon_drive_get_endpoint(handle_.get()), 0);
  expectEndpoints("new content", "");
}

TEST_F(AmazonDriveGetEndpoint, ReportsAFailureWithoutTheExceptionsNameAndKeepsWhatItKnows) {
  client().setEndpoints({"old content", "old metadata"});
  EXPECT_CALL(client(), getEndpoint(_)).WillOnce(failure);

  EXPECT_EQ(amazon_drive_get_endpoint(handle_.get()), 1);
  expectEndpoints("old content", "old metadata");
  EXPECT_THAT(log_.records(), ElementsAre(errorLine("Failed to get Endpoint. It went wrong.")));
}

TEST_F(AmazonDriveGetEndpoint, FailsWithOneWhateverTheErrorTypeIs) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    EXPECT_CALL(client(), getEndpoint(_)).WillOnce(Return(UnitTests::errorOfType(type)));
    EXPECT_EQ(amazon_drive_get_endpoint(handle_.get()), 1);
  }
}

TEST_F(AmazonDriveGetEndpoint, KeepsTheClientWhileTheSessionIsClosedAndNoLonger) {
  const std::weak_ptr<void> alive = handle_->amazon_drive_client;
  EXPECT_CALL(client(), getEndpoint(_)).WillOnce([&] {
    handle_.reset();
    EXPECT_FALSE(alive.expired());
    return GetEndpointResult{"content", "metadata"};
  });
  EXPECT_EQ(amazon_drive_get_endpoint(handle_.get()), 0);
  EXPECT_TRUE(alive.expired());
}

class AmazonDriveTestApi : public WithEndpoints<UnitTests::DriveTest<AmazonDrive>> {};

TEST_F(AmazonDriveTestApi, LogsNameAndAddressOfTheHolderAtErrorSeverity) {
  AmazonDrive::prepare(client());
  EXPECT_CALL(client(), getProfile(plainRequest()))
      .WillOnce(Return(GetProfileResult{"J\xC3\xA4ne Doe", "jane@host.example"}));

  EXPECT_EQ(amazon_drive_test_api(handle_.get()), 0);
  EXPECT_THAT(log_.records(), ElementsAre(errorLine("resource.getName(): J\xC3\xA4ne Doe"),
                                          errorLine("resource.getEmail(): jane@host.example")));
}

TEST_F(AmazonDriveTestApi, AsksForTheEndpointsFirstIfTheyAreNotKnown) {
  const InSequence inThisOrder;
  EXPECT_CALL(client(), getEndpoint(plainRequest()))
      .WillOnce(Return(GetEndpointResult{"content", "metadata"}));
  EXPECT_CALL(client(), getProfile(_)).WillOnce(Return(GetProfileResult{"name", "email"}));

  EXPECT_EQ(amazon_drive_test_api(handle_.get()), 0);
  expectEndpoints("content", "metadata");
}

TEST_F(AmazonDriveTestApi, AsksForTheEndpointsIfOnlyOneIsKnown) {
  using Endpoints = AmazonDrive::Client::Endpoints;
  for (const Endpoints& known : {Endpoints{"content", ""}, Endpoints{"", "metadata"}}) {
    client().setEndpoints(known);
    EXPECT_CALL(client(), getEndpoint(_)).WillOnce(Return(GetEndpointResult{"both", "of them"}));
    EXPECT_CALL(client(), getProfile(_)).WillOnce(Return(GetProfileResult{}));
    EXPECT_EQ(amazon_drive_test_api(handle_.get()), 0);
    expectEndpoints("both", "of them");
  }
}

TEST_F(AmazonDriveTestApi, AsksForNoProfileIfTheEndpointsCannotBeHad) {
  client().setEndpoints({"content", ""});
  EXPECT_CALL(client(), getEndpoint(_)).WillOnce(failure);

  EXPECT_EQ(amazon_drive_test_api(handle_.get()), 1);
  EXPECT_THAT(log_.records(), ElementsAre(errorLine(kCheckFailure)));
  expectEndpoints("content", "");
}

TEST_F(AmazonDriveTestApi, ReportsAFailureAsOneToCreateADirectory) {
  AmazonDrive::prepare(client());
  EXPECT_CALL(client(), getProfile(_)).WillOnce(failure);

  EXPECT_EQ(amazon_drive_test_api(handle_.get()), 1);
  EXPECT_THAT(log_.records(), ElementsAre(errorLine("Failed to create directory. It went wrong.")));
}

TEST_F(AmazonDriveTestApi, LogsEmptyFieldsOfAProfileToo) {
  AmazonDrive::prepare(client());
  EXPECT_CALL(client(), getProfile(_)).WillOnce(Return(GetProfileResult{}));

  EXPECT_EQ(amazon_drive_test_api(handle_.get()), 0);
  EXPECT_THAT(log_.records(),
              ElementsAre(errorLine("resource.getName(): "), errorLine("resource.getEmail(): ")));
}

TEST_F(AmazonDriveTestApi, KeepsTheClientWhileTheSessionIsClosedAndNoLonger) {
  const std::weak_ptr<void> alive = handle_->amazon_drive_client;
  EXPECT_CALL(client(), getEndpoint(_)).WillOnce([this] {
    handle_.reset();
    return GetEndpointResult{"content", "metadata"};
  });
  EXPECT_CALL(client(), getProfile(_)).WillOnce([&alive] {
    EXPECT_FALSE(alive.expired());
    return GetProfileResult{};
  });
  EXPECT_EQ(amazon_drive_test_api(handle_.get()), 0);
  EXPECT_TRUE(alive.expired());
}

// Both functions take the session alone.
class AmazonDriveAccount : public testing::TestWithParam<int (*)(session*)> {};

TEST_P(AmazonDriveAccount, RefusesANullSession) {
  const TestSupport::LogCapture log;
  EXPECT_EQ(GetParam()(nullptr), -1);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_P(AmazonDriveAccount, RefusesASessionOfAnotherService) {
  UnitTests::withSessionsOfOthersThan("AmazonDrive", [](session* other) {
    const TestSupport::LogCapture log;
    EXPECT_EQ(GetParam()(other), -1);
    EXPECT_THAT(log.records(), IsEmpty());
  });
}

INSTANTIATE_TEST_SUITE_P(GetEndpoint, AmazonDriveAccount,
                         testing::Values(amazon_drive_get_endpoint));
INSTANTIATE_TEST_SUITE_P(TestApi, AmazonDriveAccount, testing::Values(amazon_drive_test_api));

// The operations on folders of a session that does not know the endpoints yet.
template <typename Operation>
class AmazonDriveEndpointCheck : public WithEndpoints<UnitTests::DriveOperationTest<Operation>> {};

using Operations =
    testing::Types<UnitTests::GetRootDirectory<AmazonDrive>, UnitTests::ListDirectory<AmazonDrive>,
                   UnitTests::CreateDirectory<AmazonDrive>>;

struct OperationName {
  template <typename Operation>
  static std::string GetName(int /*index*/) {
    return Operation::kName;
  }
};
TYPED_TEST_SUITE(AmazonDriveEndpointCheck, Operations, OperationName);

TYPED_TEST(AmazonDriveEndpointCheck, ComesFirstAndTheRequestGoesToTheMetadataEndpoint) {
  const InSequence inThisOrder;
  EXPECT_CALL(this->client(), getEndpoint(plainRequest()))
      .WillOnce(Return(GetEndpointResult{"content", "metadata"}));
  TypeParam::expectRequest(this->client()).WillOnce([](const auto& request) {
    EXPECT_THAT(request.endpoint, IsPresentAs("metadata"));
    return TypeParam::answer({"id", "name"})();
  });

  EXPECT_EQ(this->call(), 0);
  this->expectEndpoints("content", "metadata");
  EXPECT_THAT(this->log_.records(), IsEmpty());
}

TYPED_TEST(AmazonDriveEndpointCheck, ThatFailsIsTheEndOfTheOperation) {
  EXPECT_CALL(this->client(), getEndpoint(_)).WillOnce([this] {
    EXPECT_TRUE(this->operation_.outs.areCleared());
    return failure();
  });

  EXPECT_EQ(this->call(), 1);
  EXPECT_TRUE(this->operation_.outs.areCleared());
  EXPECT_THAT(this->log_.records(), ElementsAre(errorLine(kCheckFailure)));
  this->expectEndpoints("", "");
}

TYPED_TEST(AmazonDriveEndpointCheck, ThatFailsIsAllThatIsToldAtLevelNine) {
  const UnitTests::VerboseLevel level(9);
  EXPECT_CALL(this->client(), getEndpoint(_)).WillOnce(failure);

  EXPECT_EQ(this->call(), 1);
  EXPECT_THAT(this->log_.records(), ElementsAre(errorLine(kCheckFailure)));
}

TYPED_TEST(AmazonDriveEndpointCheck, IsDoneAgainIfOnlyOneEndpointIsKnown) {
  using Endpoints = AmazonDrive::Client::Endpoints;
  for (const Endpoints& known : {Endpoints{"content", ""}, Endpoints{"", "metadata"}}) {
    this->log_.clear();
    this->operation_.outs.reset();
    this->client().setEndpoints(known);
    EXPECT_CALL(this->client(), getEndpoint(_)).WillOnce(failure);
    EXPECT_EQ(this->call(), 1);
    this->expectEndpoints(known.content, known.metadata);
  }
}

TYPED_TEST(AmazonDriveEndpointCheck, AsksForNothingIfBothEndpointsAreKnown) {
  this->client().setEndpoints({"content", "metadata"});
  TypeParam::expectRequest(this->client()).WillOnce(TypeParam::answer({"id", "name"}));
  EXPECT_EQ(this->call(), 0);
}

TYPED_TEST(AmazonDriveEndpointCheck, KeepsTheClientWhileTheSessionIsClosed) {
  EXPECT_CALL(this->client(), getEndpoint(_)).WillOnce([this] {
    this->handle_.reset();
    return GetEndpointResult{"content", "metadata"};
  });
  TypeParam::expectRequest(this->client()).WillOnce(TypeParam::answer({"id", "name"}));
  EXPECT_EQ(this->call(), 0);
}

}  // namespace
