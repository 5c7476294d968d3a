#pragma once

namespace CloudStorage::Client::AzureSSB::Model {

/// A container was made; nothing more is read from the answer.
struct CreateContainerResult {};

}  // namespace CloudStorage::Client::AzureSSB::Model
