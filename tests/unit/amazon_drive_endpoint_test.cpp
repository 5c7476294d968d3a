#include <gmock/gmock.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "amazon_drive_session_fixture.h"

// The endpoints of an Amazon Drive account, and the functions that concern the account.
namespace {

using testing::_;
using testing::ElementsAre;
using testing::Field;
using testing::InSequence;
using testing::IsEmpty;
using testing::Return;
using TestSupport::errorLine;
using TestSupport::AmazonDriveModel::ComRequest;
using TestSupport::AmazonDriveModel::GetEndpointResult;
using TestSupport::AmazonDriveModel::GetProfileResult;
using UnitTests::failure;
using UnitTests::IsPresentAs;
using UnitTests::itemOf;

constexpr char kCheckFailure[] = "Failed to get Endpoint. error: exceptionName It went wrong.";

auto plainRequest() { return Field(&ComRequest::contentType, "application/x-www-form-urlencoded"); }

/// A session whose endpoints are not known unless a test prepares them.
class AmazonDriveAccount : public testing::Test, protected UnitTests::AmazonDriveFixture {
 protected:
  // Each expects one request.
  void willReturnEndpoints(const std::string& content, const std::string& metadata) {
    EXPECT_CALL(client(), getEndpoint(plainRequest()))
        .WillOnce(Return(GetEndpointResult{content, metadata}));
  }
  void willReturnNoEndpoints() { EXPECT_CALL(client(), getEndpoint(_)).WillOnce(failure); }
  void willReturnProfile(const std::string& name, const std::string& email) {
    EXPECT_CALL(client(), getProfile(plainRequest()))
        .WillOnce(Return(GetProfileResult{name, email}));
  }

  void expectEndpoints(const std::string& content, const std::string& metadata) {
    const auto endpoints = client().endpoints();
    EXPECT_EQ(endpoints.content, content);
    EXPECT_EQ(endpoints.metadata, metadata);
  }

  /// In each of these one endpoint is not known.
  const std::vector<Client::Endpoints> incompleteEndpoints_{{"content", ""}, {"", "metadata"}};
};

using AmazonDriveGetEndpoint = AmazonDriveAccount;

TEST_F(AmazonDriveGetEndpoint, StoresContentAndMetadataAddressInTheSession) {
  willReturnEndpoints("content", "metadata");

  EXPECT_EQ(amazon_drive_get_endpoint(handle.get()), 0);
  expectEndpoints("content", "metadata");
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(AmazonDriveGetEndpoint, RequestsKnownEndpointsTooAndOverwritesThem) {
  client().setEndpoints({"old content", "old metadata"});
  willReturnEndpoints("new content", "");

  EXPECT_EQ(amazon_drive_get_endpoint(handle.get()), 0);
  expectEndpoints("new content", "");
}

TEST_F(AmazonDriveGetEndpoint, LogsAFailureWithoutTheExceptionsNameAndKeepsKnownEndpoints) {
  client().setEndpoints({"old content", "old metadata"});
  willReturnNoEndpoints();

  EXPECT_EQ(amazon_drive_get_endpoint(handle.get()), 1);
  expectEndpoints("old content", "old metadata");
  EXPECT_THAT(log.records(), ElementsAre(errorLine("Failed to get Endpoint. It went wrong.")));
}

TEST_F(AmazonDriveGetEndpoint, ReturnsOneWhateverTheErrorTypeIs) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    EXPECT_CALL(client(), getEndpoint(_)).WillOnce(Return(UnitTests::errorOfType(type)));
    EXPECT_EQ(amazon_drive_get_endpoint(handle.get()), 1);
  }
}

TEST_F(AmazonDriveGetEndpoint, DestroysTheClientOfAClosedSessionAfterTheCall) {
  const std::weak_ptr<void> alive = handle->amazon_drive_client;
  EXPECT_CALL(client(), getEndpoint(_)).WillOnce([&] {
    handle.reset();
    EXPECT_FALSE(alive.expired());
    return GetEndpointResult{"content", "metadata"};
  });
  EXPECT_EQ(amazon_drive_get_endpoint(handle.get()), 0);
  EXPECT_TRUE(alive.expired());
}

using AmazonDriveTestApi = AmazonDriveAccount;

TEST_F(AmazonDriveTestApi, LogsNameAndAddressOfTheHolderAtErrorSeverity) {
  prepare();
  willReturnProfile("J\xC3\xA4ne Doe", "jane@host.example");

  EXPECT_EQ(amazon_drive_test_api(handle.get()), 0);
  EXPECT_THAT(log.records(), ElementsAre(errorLine("resource.getName(): J\xC3\xA4ne Doe"),
                                         errorLine("resource.getEmail(): jane@host.example")));
}

TEST_F(AmazonDriveTestApi, RequestsTheEndpointsFirstIfTheyAreNotKnown) {
  const InSequence inThisOrder;
  willReturnEndpoints("content", "metadata");
  willReturnProfile("name", "email");

  EXPECT_EQ(amazon_drive_test_api(handle.get()), 0);
  expectEndpoints("content", "metadata");
}

TEST_F(AmazonDriveTestApi, RequestsTheEndpointsIfOnlyOneIsKnown) {
  for (const auto& known : incompleteEndpoints_) {
    client().setEndpoints(known);
    willReturnEndpoints("both", "of them");
    willReturnProfile("", "");
    EXPECT_EQ(amazon_drive_test_api(handle.get()), 0);
    expectEndpoints("both", "of them");
  }
}

TEST_F(AmazonDriveTestApi, RequestsNoProfileIfTheRequestForTheEndpointsFails) {
  client().setEndpoints({"content", ""});
  willReturnNoEndpoints();

  EXPECT_EQ(amazon_drive_test_api(handle.get()), 1);
  EXPECT_THAT(log.records(), ElementsAre(errorLine(kCheckFailure)));
  expectEndpoints("content", "");
}

TEST_F(AmazonDriveTestApi, LogsAFailureAsOneToCreateADirectory) {
  prepare();
  EXPECT_CALL(client(), getProfile(_)).WillOnce(failure);

  EXPECT_EQ(amazon_drive_test_api(handle.get()), 1);
  EXPECT_THAT(log.records(), ElementsAre(errorLine("Failed to create directory. It went wrong.")));
}

TEST_F(AmazonDriveTestApi, LogsEmptyFieldsOfAProfileToo) {
  prepare();
  willReturnProfile("", "");

  EXPECT_EQ(amazon_drive_test_api(handle.get()), 0);
  EXPECT_THAT(log.records(),
              ElementsAre(errorLine("resource.getName(): "), errorLine("resource.getEmail(): ")));
}

TEST_F(AmazonDriveTestApi, DestroysTheClientOfAClosedSessionAfterTheCall) {
  const std::weak_ptr<void> alive = handle->amazon_drive_client;
  EXPECT_CALL(client(), getEndpoint(_)).WillOnce([this] {
    handle.reset();
    return GetEndpointResult{"content", "metadata"};
  });
  EXPECT_CALL(client(), getProfile(_)).WillOnce([&alive] {
    EXPECT_FALSE(alive.expired());
    return GetProfileResult{};
  });
  EXPECT_EQ(amazon_drive_test_api(handle.get()), 0);
  EXPECT_TRUE(alive.expired());
}

using AccountFunction = int (*)(session*);
class AmazonDriveAccountFunction : public testing::TestWithParam<AccountFunction> {};

TEST_P(AmazonDriveAccountFunction, RefusesANullSession) {
  const TestSupport::LogCapture log;
  EXPECT_EQ(GetParam()(nullptr), -1);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_P(AmazonDriveAccountFunction, RefusesASessionOfAnotherService) {
  UnitTests::expectRefusalOfSessionsOfOthersThan("AmazonDrive", GetParam());
}

INSTANTIATE_TEST_SUITE_P(GetEndpoint, AmazonDriveAccountFunction,
                         testing::Values(amazon_drive_get_endpoint));
INSTANTIATE_TEST_SUITE_P(TestApi, AmazonDriveAccountFunction,
                         testing::Values(amazon_drive_test_api));

/// An operation on folders.
struct Operation {
  const char* name;
  void (*willSucceed)(UnitTests::AmazonDriveFixture& drive);
  int (*call)(UnitTests::AmazonDriveFixture& drive);
  /// To which its request was sent.
  std::string (*endpoint)(const UnitTests::AmazonDriveFixture& drive);
};

void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }

template <typename Requests>
std::string endpointOf(const Requests& requests) {
  EXPECT_EQ(requests.size(), 1U);
  EXPECT_TRUE(requests.back().endpoint.isPresent());
  return requests.back().endpoint.value();
}

const Operation kOperations[] = {
    {"GetRootDirectory",
     [](auto& drive) {
       drive.willReturnRoot(itemOf({"id", "name"}));
     },
     [](auto& drive) { return drive.getRoot(); },
     [](const auto& drive) { return endpointOf(drive.pages.requests); }},
    {"ListDirectory",
     [](auto& drive) {
       drive.willReturnPages({itemOf({"id", "name"})});
     },
     [](auto& drive) { return drive.list(); },
     [](const auto& drive) { return endpointOf(drive.pages.requests); }},
    {"CreateDirectory",
     [](auto& drive) {
       drive.willCreate(itemOf({"id", "name"}));
     },
     [](auto& drive) { return drive.create(); },
     [](const auto& drive) { return endpointOf(drive.creations); }}};

// Done by each operation of a session whose endpoints are not known.
class AmazonDriveEndpointCheck : public AmazonDriveAccount,
                                 public testing::WithParamInterface<Operation> {
 protected:
  void willSucceed() { GetParam().willSucceed(*this); }
  int call() { return GetParam().call(*this); }
};

TEST_P(AmazonDriveEndpointCheck, PrecedesTheRequestWhichIsSentToTheMetadataEndpoint) {
  const InSequence inThisOrder;
  willReturnEndpoints("content", "metadata");
  willSucceed();

  EXPECT_EQ(call(), 0);
  EXPECT_EQ(GetParam().endpoint(*this), "metadata");
  expectEndpoints("content", "metadata");
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_P(AmazonDriveEndpointCheck, EndsTheOperationIfItFailsAndLogsNothingElseAtLevelNine) {
  const TestSupport::VerboseLevel level(9);
  willReturnNoEndpoints();

  EXPECT_EQ(call(), 1);
  EXPECT_TRUE(folder.isCleared() || folders.isCleared());
  EXPECT_THAT(log.records(), ElementsAre(errorLine(kCheckFailure)));
  expectEndpoints("", "");
}

TEST_P(AmazonDriveEndpointCheck, IsRepeatedIfOnlyOneEndpointIsKnown) {
  for (const auto& known : incompleteEndpoints_) {
    client().setEndpoints(known);
    willReturnNoEndpoints();
    EXPECT_EQ(call(), 1);
    expectEndpoints(known.content, known.metadata);
  }
}

TEST_P(AmazonDriveEndpointCheck, SendsNothingIfBothEndpointsAreKnown) {
  client().setEndpoints({"content", "metadata"});
  willSucceed();
  EXPECT_EQ(call(), 0);
}

INSTANTIATE_TEST_SUITE_P(Operations, AmazonDriveEndpointCheck, testing::ValuesIn(kOperations),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
