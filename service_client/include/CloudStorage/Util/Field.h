#pragma once

#include <utility>

namespace CloudStorage::Util {

/// An optional request parameter: a value with a presence flag. Only present fields are sent. A
/// field that is not present has a value, too: a model can give it a default, and a caller can mark
/// the default present without repeating it.
template <typename T>
class Field {
 public:
  Field() = default;
  /// A field that holds `defaultValue` and is not present.
  explicit Field(T defaultValue) : value_(std::move(defaultValue)) {}

  /// Sets the value and marks the field present.
  Field& operator=(T value) {
    value_ = std::move(value);
    present_ = true;
    return *this;
  }

  /// Marks the field present and keeps its value.
  void markPresent() { present_ = true; }

  bool isPresent() const { return present_; }
  const T& value() const { return value_; }

 private:
  T value_{};
  bool present_ = false;
};

}  // namespace CloudStorage::Util
