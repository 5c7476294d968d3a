#pragma once

namespace CloudStorage::Util {

/// What a thread keeps for itself from call to call: a `T` that is made when it is first asked for.
/// Null once the thread has thrown it away, at its end; the destructors of other objects may still
/// be running then.
template <typename T>
T* threadOwn() {
  static thread_local bool isGone = false;
  struct Own {
    ~Own() { isGone = true; }
    T value;
  };
  if (isGone) return nullptr;
  static thread_local Own own;
  return &own.value;
}

}  // namespace CloudStorage::Util
