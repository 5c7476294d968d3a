#pragma once

#include <functional>
#include <libvemlo.hpp>

namespace tool {

/// Whether the user wants to see the library's log (-v).
bool isVerbose();
void setVerbose(bool isVerbose);

/// The library with the settings of this tool. Its log goes to the system log, and to standard
/// error if the user wants to see it. At most one object may exist at a time.
class OpenLibrary {
 public:
  OpenLibrary();

  /// What is called when a service has renewed tokens. It must not throw.
  void onRenewedTokens(std::function<void(const vemlo::RenewedTokens&)> function);

 private:
  std::function<void(const vemlo::RenewedTokens&)> renewed_;
  vemlo::Library library_;  // the last member because it uses the others
};

}  // namespace tool
