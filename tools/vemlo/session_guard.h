#pragma once

#include <libvemlo.h>

#include <memory>

namespace tool {

/// Initializes the library, with a log that fits the terminal, and cleans it up. At most one object
/// may exist at a time.
class Library {
 public:
  Library();
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
};

/// Owns a session of any service and the initialized library that it needs. A command opens one.
class SessionGuard {
 public:
  /// @param open  Called after the library is initialized; returns the session.
  template <typename Open>
  explicit SessionGuard(Open open) : handle_(open()) {}

  session* handle() const { return handle_.get(); }

 private:
  struct Close {
    // Closes a session of any service, not only of S3.
    void operator()(session* handle) const { libvemlo_s3_cleanup(handle); }
  };

  Library library_;
  std::unique_ptr<session, Close> handle_;
};

}  // namespace tool
