#pragma once

#include <string>

namespace tool {

/// Throws CommandFailure unless `code`, the result of an object store's function, is success. The message
/// explains the code. `action` is what was attempted, such as "list the buckets".
void requireSuccess(int code, const std::string& action);

/// Likewise for the result of a drive's function. `advice` is appended to the message unless empty.
void requireDriveSuccess(int code, const std::string& action, const std::string& advice);

}  // namespace tool
