#pragma once

#include <string>

namespace CloudStorage::Auth {

/// The `state` parameter of the next address for consent that a thread gets (RFC 6749, section
/// 4.1.1). Each thread has its own.
class ConsentState {
 public:
  static void set(std::string state);
  /// Returns the state and clears it. Empty if there is none.
  static std::string take();
};

}  // namespace CloudStorage::Auth
