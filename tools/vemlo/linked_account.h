#pragma once

#include <chrono>
#include <libvemlo.hpp>
#include <memory>
#include <optional>
#include <string>

#include "account_file.h"
#include "object_storage.h"
#include "open_library.h"
#include "storage.h"

namespace tool {

/// The linked account of this name. Throws CommandFailure if there is none, or if it is of a
/// service that this version does not know.
Account linkedAccount(const std::string& name);

/// Throws CommandFailure: no account is linked with this name.
[[noreturn]] void rejectAccount(const std::string& name);

/// The object store of a linked account.
std::unique_ptr<const ObjectStore> openStore(const std::string& name, const Account& account,
                                             const vemlo::Proxy& proxy);

/// How a linked account is opened.
struct OpenOptions {
  /// The id of the folder of a drive at which paths begin; empty: the root.
  std::string startId;
  vemlo::Proxy proxy;
  /// Suppresses the display of progress.
  bool isQuiet = false;
  /// When calls end at the latest.
  std::optional<std::chrono::steady_clock::time_point> deadline{};
};

/// The folders of a linked account. The library must live longer than the result.
std::unique_ptr<Storage> openStorage(OpenLibrary& library, const std::string& name,
                                     const Account& account, const OpenOptions& options);

}  // namespace tool
