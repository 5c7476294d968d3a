#include "CloudStorage/Client/OneDrive/RemoteItems.h"

#include <utility>

#include "CloudStorage/Http/URI.h"

namespace CloudStorage::Client::OneDrive {
namespace {

bool isUsableId(std::string_view id) {
  constexpr std::size_t kLongestId = 256;  // twice as long as any that the service assigns
  return Http::URI::isPathSegment(id) && id.size() <= kLongestId;
}

}  // namespace

void RemoteItems::remember(std::string_view id, std::string_view driveId, std::string_view itemId) {
  if (!isUsableId(id) || !isUsableId(driveId) || !isUsableId(itemId)) return;
  std::string key(id);
  const std::lock_guard<std::mutex> lock(mutex_);
  auto target = targetOf(driveId, itemId == id ? std::string_view() : itemId);
  older_.erase(key);
  const auto known = recent_.find(key);
  if (known != recent_.end()) {
    known->second = std::move(target);
    return;
  }
  makeRoom();
  recent_.emplace(std::move(key), std::move(target));
}

std::optional<ItemLocation> RemoteItems::find(const std::string& id) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  auto known = recent_.find(id);
  if (known == recent_.end()) {
    auto node = older_.extract(id);
    if (node.empty()) return std::nullopt;
    makeRoom();
    known = recent_.insert(std::move(node)).position;
  }
  const Target& target = *known->second;
  ItemLocation location;
  location.driveId = target.driveId;
  location.itemId = target.itemId.empty() ? id : target.itemId;
  return location;
}

std::shared_ptr<const RemoteItems::Target> RemoteItems::targetOf(std::string_view driveId,
                                                                 std::string_view itemId) {
  if (!last_ || last_->driveId != driveId || last_->itemId != itemId) {
    last_ = std::make_shared<const Target>(Target{std::string(driveId), std::string(itemId)});
  }
  return last_;
}

void RemoteItems::makeRoom() const {
  if (recent_.size() < kCapacity) return;
  older_ = std::move(recent_);
  recent_ = Targets();
}

}  // namespace CloudStorage::Client::OneDrive
