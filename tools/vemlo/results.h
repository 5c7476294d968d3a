#pragma once

#include <string>

namespace vemlo {

/// Throws Failure unless `code`, the library's result of trying to do `action` ("list the
/// buckets"), is success. The message says in words what the code means.
void requireSuccess(int code, const std::string& action);

}  // namespace vemlo
