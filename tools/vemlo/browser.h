#pragma once

#include <string>

namespace tool {

/// Opens a web page in the user's browser. Does nothing without a desktop session, and ignores
/// failures.
void openBrowser(const std::string& url);

}  // namespace tool
