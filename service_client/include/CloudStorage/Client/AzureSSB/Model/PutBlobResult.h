#pragma once

namespace CloudStorage::Client::AzureSSB::Model {

/// A blob was stored; nothing more is read from the answer.
struct PutBlobResult {};

}  // namespace CloudStorage::Client::AzureSSB::Model
