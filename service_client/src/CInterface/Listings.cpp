#include "Client/ListingExtent.h"
#include "Client/S3/S3WholeListings.h"
#include "libvemlo_service_client.h"

using namespace CloudStorage;

void vemlo_client_set_whole_s3_listings(int enabled) { Client::S3::setListingsWhole(enabled != 0); }

int vemlo_client_was_listing_cut_short(void) {
  return Client::ListingExtent::wasCutShort() ? 1 : 0;
}
