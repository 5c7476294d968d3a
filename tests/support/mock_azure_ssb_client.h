#pragma once

#include <gmock/gmock.h>

#include <memory>

#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "support/scripted_transport.h"

namespace TestSupport {

/// Stands in for the Azure client of a session. What it does not expect never reaches a network.
class MockAzureSSBClient : public CloudStorage::Client::AzureSSB::AzureSSBClient {
 public:
  MockAzureSSBClient()
      : AzureSSBClient("account", CloudStorage::Client::ClientParts{},
                       {std::make_shared<ScriptedTransport>(), nullptr, nullptr},
                       CloudStorage::Client::AzureSSB::Region::Global) {}

  using ListContainerOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::AzureSSB::Model::ListContainerResult,
                                  CloudStorage::Client::Error>;
  using CreateContainerOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::AzureSSB::Model::CreateContainerResult,
                                  CloudStorage::Client::Error>;
  using ListBlobOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::AzureSSB::Model::ListBlobResult,
                                  CloudStorage::Client::Error>;
  using PutBlobOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::AzureSSB::Model::PutBlobResult,
                                  CloudStorage::Client::Error>;

  MOCK_METHOD(ListContainerOutcome, listContainer,
              (const CloudStorage::Client::AzureSSB::Model::ListContainerRequest&),
              (const, override));
  MOCK_METHOD(CreateContainerOutcome, createContainer,
              (const CloudStorage::Client::AzureSSB::Model::CreateContainerRequest&),
              (const, override));
  MOCK_METHOD(ListBlobOutcome, listBlob,
              (const CloudStorage::Client::AzureSSB::Model::ListBlobRequest&), (const, override));
  MOCK_METHOD(PutBlobOutcome, putBlob,
              (const CloudStorage::Client::AzureSSB::Model::PutBlobRequest&), (const, override));
};

}  // namespace TestSupport
