#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "CloudStorage/Http/Transport.h"

namespace Faults {

/// What of a request must not reach a log: its token or signature, and the secrets of a form. An
/// authorization code is none: it is valid once, and the line about a failed exchange names it.
std::vector<std::string> secretsOf(const CloudStorage::Http::Request& request);

/// A way to write a secret.
struct Writing {
  const char* name;
  std::string (*write)(std::string_view secret);
};
const std::vector<Writing>& writings();

}  // namespace Faults
