#pragma once

#include <string_view>
#include <vector>

#include "libvemlo.h"

namespace benchmarks {

/// Records like the library's for the clients without it; to be released with free().
char* copyOf(std::string_view text);
char** arrayOf(const std::vector<char*>& names);
directory* arrayOf(const std::vector<directory>& directories);

}  // namespace benchmarks
