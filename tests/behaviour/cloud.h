#pragma once

#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "CloudStorage/Http/Transport.h"
#include "service.h"

namespace Behaviour {

/// An account at a service with one folder to keep folders in, which speaks as the service does.
/// Safe for concurrent calls.
class Cloud : public CloudStorage::Http::Transport {
 public:
  static constexpr char kTokenEndpoint[] = "https://login.example.test/token";

  explicit Cloud(const Service& service) : service_(service) {}

  CloudStorage::Http::Response send(const CloudStorage::Http::Request& request) override;

  /// Puts folders into the parent, "folder-1" and so on.
  void addFolders(int count);
  std::vector<Folder> folders() const;

  /// Requests so far.
  std::size_t count(Subject subject) const;
  std::size_t count() const;

  /// Ends the access token that it has handed out last.
  void expireToken();
  /// From now on requests for pages are not answered.
  void holdPages();
  /// Waits until so many are held.
  void waitForPages(std::size_t number);
  void releasePages();

  // To be set while no call runs.
  std::size_t pageLength = 100;
  /// Instead of any other answer.
  std::optional<CloudStorage::Http::Response> answerToAll;
  /// The number of the page that is refused; the first is 1.
  std::size_t refusedPage = 0;
  /// The number of the page at which the access token expires.
  std::size_t lastPageOfToken = 0;
  bool refusesNewTokens = false;

 private:
  bool hasToken(const CloudStorage::Http::Request& request) const;
  CloudStorage::Http::Response newTokens();
  CloudStorage::Http::Response page(const CloudStorage::Http::Request& request);
  CloudStorage::Http::Response create(const std::string& name);
  const Folder* find(const std::string& name) const;

  const Service& service_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::pair<std::string, Folder>> folders_;
  std::map<Subject, std::size_t> counts_;
  std::size_t tokens_ = 0;
  std::string acceptedToken_;
  bool holdsPages_ = false;
  std::size_t heldPages_ = 0;
};

}  // namespace Behaviour
