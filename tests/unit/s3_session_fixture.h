#pragma once

#include <gmock/gmock.h>

#include "libvemlo/session.h"
#include "object_store_fixture.h"
#include "support/mock_s3_client.h"

namespace UnitTests {

/// A session with S3. Its client fails the test on any unexpected request.
class S3Fixture {
 protected:
  S3Fixture() { handle_.s3_client = new testing::StrictMock<TestSupport::MockS3Client>(); }

  TestSupport::MockS3Client& client() {
    return static_cast<TestSupport::MockS3Client&>(*handle_.s3_client);
  }

  session handle_;
  TestSupport::LogCapture log_;
};

class S3Test : public testing::Test, protected S3Fixture {};

}  // namespace UnitTests
