#pragma once

#include <gmock/gmock.h>

#include <memory>

#include "CloudStorage/Client/S3/S3Client.h"
#include "support/outcome_of.h"
#include "support/scripted_transport.h"

namespace TestSupport {

namespace S3Model = CloudStorage::Client::S3::Model;

/// Substitute for the S3 client of a session.
class MockS3Client : public CloudStorage::Client::S3::S3Client {
 public:
  MockS3Client()
      : S3Client("", "", CloudStorage::Client::ClientParts{},
                 {std::make_shared<ScriptedTransport>(), nullptr, nullptr, nullptr}) {}

  MOCK_METHOD(OutcomeOf<S3Model::ListBucketsResult>, listBuckets, (), (const, override));
  MOCK_METHOD(OutcomeOf<S3Model::CreateBucketResult>, createBucket,
              (const S3Model::CreateBucketRequest&), (const, override));
  MOCK_METHOD(OutcomeOf<S3Model::ListObjectsV2Result>, listObjectsV2,
              (const S3Model::ListObjectsV2Request&), (const, override));
  MOCK_METHOD(OutcomeOf<S3Model::PutObjectResult>, putObject, (const S3Model::PutObjectRequest&),
              (const, override));
};

}  // namespace TestSupport
