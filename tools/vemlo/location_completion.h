#pragma once

#include <string>
#include <vector>

#include "linked_account.h"

namespace tool {

/// What a word that is being typed can become.
struct Candidate {
  std::string word;
  std::string description;
};

/// The linked accounts, each followed by `suffix`.
std::vector<Candidate> accountCandidates(const std::string& suffix);

/// What the location `word` can become: the accounts, or the folders that are in the folder before
/// its last slash now. Names that would confuse a terminal or cannot be part of a path are left
/// out. Throws CommandFailure if the folders cannot be listed.
std::vector<Candidate> locationCandidates(const std::string& word, const OpenOptions& options);

}  // namespace tool
