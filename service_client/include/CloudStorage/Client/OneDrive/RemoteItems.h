#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "CloudStorage/Export.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::OneDrive {

/// The address of an item.
struct ItemLocation {
  /// Absent: the user's own drive.
  Util::Field<std::string> driveId;
  std::string itemId;
};

/// The locations of items that have an id in one drive and are in another: folders that another
/// user shares, and what they contain. A client remembers those that its responses have shown. Safe
/// for concurrent use.
class CLOUDSTORAGE_API RemoteItems {
 public:
  /// The number of items that are remembered at least: those remembered or found last. The maximum
  /// is twice that number.
  static constexpr std::size_t kCapacity = std::size_t{1} << 15U;

  /// Records that the item `id` is `itemId` in the drive `driveId`. Ignores ids that cannot be part
  /// of an address, and those that are longer than any that the service assigns.
  void remember(std::string_view id, std::string_view driveId, std::string_view itemId);

  /// The location of the item `id`; nothing if it is not known.
  std::optional<ItemLocation> find(const std::string& id) const;

 private:
  /// Most items have the same id in the other drive, so that a folder's items can share a target.
  struct Target {
    std::string driveId;
    std::string itemId;  // empty: the same id
  };
  using Targets = std::unordered_map<std::string, std::shared_ptr<const Target>>;

  std::shared_ptr<const Target> targetOf(std::string_view driveId, std::string_view itemId);
  /// Makes room for one more item in `recent_`.
  void makeRoom() const;

  mutable std::mutex mutex_;
  // The items of `older_` are dropped all at once, except those that were found in the meantime.
  mutable Targets recent_;
  mutable Targets older_;
  std::shared_ptr<const Target> last_;
};

}  // namespace CloudStorage::Client::OneDrive
