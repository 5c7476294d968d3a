#pragma once

#include <optional>

#include "CloudStorage/Client/OneDrive/Model/DriveItem.h"
#include "CloudStorage/Client/OneDrive/Model/DriveMetadata.h"
#include "CloudStorage/Client/OneDrive/Model/ListChildrenResult.h"
#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Http/Transport.h"

/// Takes apart what the service answers to a call that succeeded. An error if it is not what the
/// call promises.
namespace CloudStorage::Client::OneDrive {

std::optional<Error> parseItem(Http::Response& response, Model::DriveItem& item);
std::optional<Error> parseDrive(Http::Response& response, Model::DriveMetadata& drive);

/// A page of children: all of them, or those alone that a filter is to let through. What has been
/// filtered already stays as it is.
std::optional<Error> parseChildren(Http::Response& response, Model::ListChildrenResult& result);
std::optional<Error> parseFolders(Http::Response& response, Model::ListChildrenResult& result);
std::optional<Error> parseFoldersAndRemoteItems(Http::Response& response,
                                                Model::ListChildrenResult& result);

}  // namespace CloudStorage::Client::OneDrive
