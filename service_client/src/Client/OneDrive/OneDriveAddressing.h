#pragma once

#include <string>

#include "CloudStorage/Client/OneDrive/RemoteItems.h"
#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Http/URI.h"
#include "CloudStorage/Util/Field.h"
#include "CloudStorage/Util/Outcome.h"

/// The addresses of Microsoft Graph v1.0. A request whose id cannot be part of an address fails.
namespace CloudStorage::Client::OneDrive {

/// The given drive; the user's own drive if there is no id.
Util::Outcome<Http::URI, Error> driveUri(const Util::Field<std::string>& driveId);

Util::Outcome<Http::URI, Error> itemUri(const ItemLocation& item);

/// The items in a folder.
Util::Outcome<Http::URI, Error> childrenUri(const ItemLocation& folder);

/// The address that a page token consists of. The request carries the access token, so it must be
/// an address of the service.
Util::Outcome<Http::URI, Error> pageUri(const std::string& pageToken);

}  // namespace CloudStorage::Client::OneDrive
