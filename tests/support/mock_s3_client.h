#pragma once

#include <gmock/gmock.h>

#include <memory>

#include "CloudStorage/Client/S3/S3Client.h"
#include "support/scripted_transport.h"

namespace TestSupport {

/// Stands in for the S3 client of a session. What it does not expect never reaches a network.
class MockS3Client : public CloudStorage::Client::S3::S3Client {
 public:
  MockS3Client()
      : S3Client("", "", CloudStorage::Client::ClientParts{},
                 {std::make_shared<ScriptedTransport>(), nullptr, nullptr}) {}

  using ListBucketsOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::S3::Model::ListBucketsResult,
                                  CloudStorage::Client::Error>;
  using CreateBucketOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::S3::Model::CreateBucketResult,
                                  CloudStorage::Client::Error>;
  using ListObjectsV2Outcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::S3::Model::ListObjectsV2Result,
                                  CloudStorage::Client::Error>;
  using PutObjectOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::S3::Model::PutObjectResult,
                                  CloudStorage::Client::Error>;

  MOCK_METHOD(ListBucketsOutcome, listBuckets, (), (const, override));
  MOCK_METHOD(CreateBucketOutcome, createBucket,
              (const CloudStorage::Client::S3::Model::CreateBucketRequest&), (const, override));
  MOCK_METHOD(ListObjectsV2Outcome, listObjectsV2,
              (const CloudStorage::Client::S3::Model::ListObjectsV2Request&), (const, override));
  MOCK_METHOD(PutObjectOutcome, putObject,
              (const CloudStorage::Client::S3::Model::PutObjectRequest&), (const, override));
};

}  // namespace TestSupport
