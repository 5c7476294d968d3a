#include "Client/S3/S3WholeListings.h"

#include <atomic>

namespace CloudStorage::Client::S3 {
namespace {

// Not one of the ProcessSettings, whose changes need memory: this one cannot fail.
std::atomic<bool> listingsAreWhole{false};

}  // namespace

bool areListingsWhole() { return listingsAreWhole; }

void setListingsWhole(bool whole) { listingsAreWhole = whole; }

}  // namespace CloudStorage::Client::S3
