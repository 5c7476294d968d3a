#include "cloud.h"

#include <algorithm>
#include <utility>

#include "support/scripted_transport.h"

namespace Behaviour {
namespace {

namespace Http = CloudStorage::Http;
using TestSupport::response;

constexpr char kPageToken[] = "page-";

// 0 if no page has this token.
std::size_t pageNumberOf(const std::string& token) {
  if (token.empty()) return 1;
  const std::size_t length = sizeof kPageToken - 1;
  return token.compare(0, length, kPageToken) == 0 ? std::stoul(token.substr(length)) : 0;
}

}  // namespace

Http::Response Cloud::send(const Http::Request& request) {
  if (onRequest) onRequest();
  const bool isForTokens = request.uri.toString() == kTokenEndpoint;
  std::unique_lock<std::mutex> lock(mutex_);
  const Subject subject = isForTokens ? Subject::Tokens : service_.subjectOf(request);
  ++counts_[subject];
  if (subject == Subject::Page && holdsPages_) {
    ++heldPages_;
    changed_.notify_all();
    changed_.wait(lock, [this] { return !holdsPages_; });
  }
  if (responseToAll) return *responseToAll;
  if (isForTokens) return newTokens();
  if (!hasToken(request)) return service_.tokenExpired().response;
  if (deniesAccess && subject != Subject::Preparation) return service_.accessDenied().response;
  switch (subject) {
    case Subject::Unknown:
      return response(404);
    case Subject::Page:
      return page(request);
    case Subject::Creation: {
      const std::string name = service_.nameIn(request);
      return name == deniedName ? service_.accessDenied().response : create(name);
    }
    default:
      return response(200, service_.bodyAbout(subject));
  }
}

void Cloud::addFolders(int count) {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (int i = 1; i <= count; ++i) create("folder-" + std::to_string(i));
}

std::vector<Folder> Cloud::folders() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<Folder> all;
  for (const auto& named : folders_) all.push_back(named.second);
  return all;
}

std::size_t Cloud::count(Subject subject) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = counts_.find(subject);
  return found == counts_.end() ? 0 : found->second;
}

std::size_t Cloud::count() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::size_t all = 0;
  for (const auto& counted : counts_) all += counted.second;
  return all;
}

void Cloud::expireToken() {
  const std::lock_guard<std::mutex> lock(mutex_);
  acceptedToken_.clear();
}

void Cloud::holdPages() {
  const std::lock_guard<std::mutex> lock(mutex_);
  holdsPages_ = true;
}

void Cloud::waitForPages(std::size_t number) {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [this, number] { return heldPages_ >= number; });
}

void Cloud::releasePages() {
  const std::lock_guard<std::mutex> lock(mutex_);
  holdsPages_ = false;
  changed_.notify_all();
}

bool Cloud::hasToken(const Http::Request& request) const {
  if (!service_.facts.usesTokens) return true;
  const auto header = request.headers.find("authorization");
  return header != request.headers.end() && !acceptedToken_.empty() &&
         header->second == "Bearer " + acceptedToken_;
}

Http::Response Cloud::newTokens() {
  if (refusesNewTokens) return response(400, R"({"error":"invalid_grant"})");
  // No other text contains any part of them, and an encoding changes some of their characters.
  const std::string end = "/+" + std::to_string(++tokens_) + "=";
  acceptedToken_ = "qX7vA" + end;
  return response(200, R"({"access_token":")" + acceptedToken_ + R"(","refresh_token":"wK9zR)" +
                           end + R"(","token_type":"bearer"})");
}

Http::Response Cloud::page(const Http::Request& request) {
  const std::size_t number = pageNumberOf(service_.tokenIn(request));
  const std::size_t begin = (number - 1) * pageLength;
  if (number == 0 || (number > 1 && begin >= folders_.size())) return response(400);
  if (number == deniedPage) return service_.accessDenied().response;
  if (number == lastPageOfToken) {
    acceptedToken_.clear();
    lastPageOfToken = 0;
  }
  Page requested;
  const std::size_t end = std::min(begin + pageLength, folders_.size());
  for (std::size_t i = begin; i < end; ++i) requested.folders.push_back(folders_[i].second);
  if (end < folders_.size()) requested.next = kPageToken + std::to_string(number + 1);
  return response(200, service_.bodyOf(requested));
}

Http::Response Cloud::create(const std::string& name) {
  const Folder* const found = find(name);
  if (found != nullptr && service_.facts.twin == Service::Twin::Refused) {
    return service_.nameTaken().response;
  }
  if (found != nullptr && service_.facts.twin == Service::Twin::SameFolder) {
    return service_.creationResponse(*found);
  }
  folders_.emplace_back(name, service_.folderNamed(name, folders_.size() + 1));
  return service_.creationResponse(folders_.back().second);
}

const Folder* Cloud::find(const std::string& name) const {
  for (const auto& [known, folder] : folders_) {
    if (known == name) return &folder;
  }
  return nullptr;
}

}  // namespace Behaviour
