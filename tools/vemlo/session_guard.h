#pragma once

#include <libvemlo.h>

#include <memory>

namespace vemlo {

/// The library, ready for use as long as this lives. At most one at a time.
class Library {
 public:
  Library() { libvemlo_global_init(); }
  ~Library() { libvemlo_global_cleanup(); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
};

/// An open account of whichever service, together with the library it needs. A command opens one.
class SessionGuard {
 public:
  /// @param open  Called once the library is ready; returns the session.
  template <typename Open>
  explicit SessionGuard(Open open) : handle_(open()) {}

  session* handle() const { return handle_.get(); }

 private:
  struct Close {
    // Closes a session of any service, in spite of its name.
    void operator()(session* handle) const { libvemlo_s3_cleanup(handle); }
  };

  Library library_;
  std::unique_ptr<session, Close> handle_;
};

}  // namespace vemlo
