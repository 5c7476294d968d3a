#pragma once

#include <string>

namespace vemlo {

/// Shows a page in the user's browser where there is a desktop to do so; otherwise, and if that
/// fails, does nothing.
void openBrowser(const std::string& url);

}  // namespace vemlo
