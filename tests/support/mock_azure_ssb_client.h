#pragma once

#include <gmock/gmock.h>

#include <memory>

#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "support/outcome_of.h"
#include "support/scripted_transport.h"

namespace TestSupport {

namespace AzureSSBModel = CloudStorage::Client::AzureSSB::Model;

/// Substitute for the Azure client of a session.
class MockAzureSSBClient : public CloudStorage::Client::AzureSSB::AzureSSBClient {
 public:
  MockAzureSSBClient()
      : AzureSSBClient("account", CloudStorage::Client::ClientParts{},
                       {std::make_shared<ScriptedTransport>(), nullptr, nullptr, nullptr},
                       CloudStorage::Client::AzureSSB::Region::Global) {}

  MOCK_METHOD(OutcomeOf<AzureSSBModel::ListContainerResult>, listContainer,
              (const AzureSSBModel::ListContainerRequest&), (const, override));
  MOCK_METHOD(OutcomeOf<AzureSSBModel::CreateContainerResult>, createContainer,
              (const AzureSSBModel::CreateContainerRequest&), (const, override));
  MOCK_METHOD(OutcomeOf<AzureSSBModel::ListBlobResult>, listBlob,
              (const AzureSSBModel::ListBlobRequest&), (const, override));
  MOCK_METHOD(OutcomeOf<AzureSSBModel::PutBlobResult>, putBlob,
              (const AzureSSBModel::PutBlobRequest&), (const, override));
};

}  // namespace TestSupport
