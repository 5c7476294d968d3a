#pragma once

#include <libvemlo.hpp>
#include <string>
#include <vector>

#include "calls.h"
#include "storage.h"
#include "stored_tokens.h"

namespace tool {

/// The folders of a linked drive. A path is looked up with one listing per level, because the
/// services know folders by their ids.
class DriveStorage : public Storage {
 public:
  /// @param startId  the id of the folder at which paths begin; empty: the root.
  DriveStorage(OpenLibrary& library, const Calls& calls, const Account& account,
               const vemlo::Proxy& proxy, std::string startId);

  Folder find(const std::string& path) override;
  Folders foldersIn(const Folder& parent) override;
  Folder make(const std::string& path, const std::string& region) override;
  Folder makeAll(const std::string& path, const std::string& region) override;
  std::string describe(const std::string& path) const override;
  std::string wordForFoldersIn(const Folder& parent) const override;

 private:
  /// Makes a call, and once more if the service no longer accepts the tokens and another process
  /// has stored newer ones.
  template <typename Function>
  auto request(const std::string& action, Function function);

  Folder start();
  Folder child(const Folder& parent, const std::string& name);
  Folder makeIn(const Folder& parent, const std::string& name);
  Folder makeUnlessThere(const Folder& parent, const std::string& name);
  std::string actionOfMaking(const Folder& parent, const std::string& name) const;
  bool isSameName(const std::string& left, const std::string& right) const;

  Calls calls_;
  std::string startId_;
  StoredTokens tokens_;
  vemlo::Drive drive_;
};

}  // namespace tool
