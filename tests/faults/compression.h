#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Faults {

/// `before`, then `unit` again and again, then `after`, compressed.
std::string gzip(std::string_view before, std::string_view unit, std::size_t times,
                 std::string_view after);

}  // namespace Faults
