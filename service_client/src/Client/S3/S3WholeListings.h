#pragma once

namespace CloudStorage::Client::S3 {

/// Whether listings of buckets have all pages instead of the first one. Concerns the whole process.
bool areListingsWhole();
void setListingsWhole(bool whole);

}  // namespace CloudStorage::Client::S3
