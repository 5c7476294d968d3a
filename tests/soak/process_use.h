#pragma once

#include <cstddef>

namespace Soak {

/// What this process has in use.
struct ProcessUse {
  std::size_t kibibytes = 0;
  std::size_t descriptors = 0;
};

ProcessUse currentUse();

}  // namespace Soak
