#pragma once

#include <string>

namespace vemlo {

/// Throws Failure unless `code`, an object store's result of trying to do `action` ("list the
/// buckets"), is success. The message says in words what the code means.
void requireSuccess(int code, const std::string& action);

/// The same for a drive's result. `advice` says what the user can do then; it may be empty.
void requireDriveSuccess(int code, const std::string& action, const std::string& advice);

}  // namespace vemlo
