#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "CloudStorage/Http/Transport.h"
#include "service.h"

namespace Behaviour {

/// An account at a service with one parent folder. Implements the protocol of the service. Safe for
/// concurrent calls.
class Cloud : public CloudStorage::Http::Transport {
 public:
  static constexpr char kTokenEndpoint[] = "https://login.example.test/token";

  explicit Cloud(const Service& service) : service_(service) {}

  CloudStorage::Http::Response send(const CloudStorage::Http::Request& request) override;

  /// Creates the folders "folder-1" and so on in the parent.
  void addFolders(int count);
  std::vector<Folder> folders() const;

  /// The number of requests so far.
  std::size_t count(Subject subject) const;
  std::size_t count() const;

  /// Invalidates the access token that it issued last.
  void expireToken();
  /// From now on requests for pages are held back.
  void holdPages();
  /// Waits until `number` requests are held back.
  void waitForPages(std::size_t number);
  void releasePages();

  // To be set while no call runs.

  /// Called with each request.
  std::function<void()> onRequest;
  std::size_t pageLength = 100;
  /// Replaces all other responses.
  std::optional<CloudStorage::Http::Response> responseToAll;
  /// Denies access to everything but tokens and preparations.
  bool deniesAccess = false;
  /// The name of the folder whose creation is denied.
  std::string deniedName;
  /// The number of the page to which access is denied; the first is 1.
  std::size_t deniedPage = 0;
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
