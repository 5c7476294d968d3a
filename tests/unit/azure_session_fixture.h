#pragma once

#include <gmock/gmock.h>

#include <memory>

#include "libvemlo/session.h"
#include "object_store_fixture.h"
#include "support/mock_azure_ssb_client.h"

namespace UnitTests {

/// A session with Azure. Its client fails the test on any unexpected request.
class AzureFixture {
 protected:
  AzureFixture() {
    handle_.azure_ssb_client =
        std::make_shared<testing::StrictMock<TestSupport::MockAzureSSBClient>>();
  }

  TestSupport::MockAzureSSBClient& client() {
    return static_cast<TestSupport::MockAzureSSBClient&>(*handle_.azure_ssb_client);
  }

  session handle_;
  TestSupport::LogCapture log_;
};

class AzureTest : public testing::Test, protected AzureFixture {};

}  // namespace UnitTests
