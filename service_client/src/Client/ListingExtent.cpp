#include "Client/ListingExtent.h"

namespace CloudStorage::Client {
namespace {

thread_local bool lastIsCutShort = false;

}  // namespace

bool ListingExtent::wasCutShort() { return lastIsCutShort; }

void ListingExtent::set(bool isCutShort) { lastIsCutShort = isCutShort; }

}  // namespace CloudStorage::Client
