#include "location_completion.h"

#include <set>

#include "location.h"
#include "services.h"
#include "text.h"

namespace tool {
namespace {

bool isPlain(const std::string& name) {
  return !name.empty() && name.find('/') == std::string::npos && isPrintable(name);
}

}  // namespace

std::vector<Candidate> accountCandidates(const std::string& suffix) {
  std::vector<Candidate> candidates;
  for (const auto& [name, account] : readAccounts()) {
    const Service* service = findService(account.service);
    if (service != nullptr) candidates.push_back({name + suffix, service->title});
  }
  return candidates;
}

std::vector<Candidate> locationCandidates(const std::string& word, const OpenOptions& options) {
  const std::size_t colon = word.find(':');
  if (colon == std::string::npos || colon + 1 == word.size()) return accountCandidates(":/");

  const std::size_t slash = word.rfind('/');
  const bool hasSlash = slash != std::string::npos && slash > colon;
  const std::string above = word.substr(0, (hasSlash ? slash : colon) + 1);
  const auto [name, path] = parseLocation(above);
  const Account account = linkedAccount(name);
  OpenLibrary library;
  const auto storage = openStorage(library, name, account, options);
  std::vector<Candidate> candidates;
  std::set<std::string> names;
  for (const Folder& folder : storage->foldersIn(storage->find(path)).folders) {
    // Drives may have several folders of one name.
    if (!isPlain(folder.name) || !names.insert(folder.name).second) continue;
    candidates.push_back({above + folder.name + "/", ""});
  }
  return candidates;
}

}  // namespace tool
