#include "storage.h"

namespace tool {

std::string joined(const std::string& parent, const std::string& name) {
  return parent.empty() ? name : parent + "/" + name;
}

Listing listingOf(const std::vector<Folder>& folders, bool showsIds) {
  Listing listing{{"name"}, {}};
  if (showsIds) listing.columns.emplace_back("id");
  for (const Folder& folder : folders) {
    auto& row = listing.rows.emplace_back();
    row.emplace_back(folder.name);
    if (showsIds) row.push_back(folder.id.empty() ? Cell() : Cell(folder.id));
  }
  return listing;
}

CommandFailure cutShort(const std::string& what) {
  return {ExitCode::ServiceFailed,
          "the listing of " + what +
              " is incomplete: the service has more entries than it has handed out"};
}

}  // namespace tool
