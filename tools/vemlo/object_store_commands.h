#pragma once

#include <CLI/App.hpp>
#include <functional>

#include "object_storage.h"
#include "services.h"

namespace tool {

/// Adds the commands that list buckets, list folders and make a folder, for an account that the
/// options of `command` describe.
///
/// @param open  throws CommandFailure if the options do not describe an account.
void addObjectStoreCommands(CLI::App& command, const Service& service,
                            const std::function<ObjectStorage(bool isQuiet)>& open);

}  // namespace tool
