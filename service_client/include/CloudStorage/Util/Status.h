#pragma once

#include <string>
#include <utility>

namespace CloudStorage::Util {

/// The outcome of an operation that has no result. Code 0 is success. Any other code is a failure,
/// whose text is one line and contains no secret.
class Status {
 public:
  Status() = default;
  Status(int code, std::string text) : code_(code), text_(std::move(text)) {}

  bool isSuccess() const { return code_ == 0; }
  int getCode() const { return code_; }
  std::string toString() const { return isSuccess() ? "success" : text_; }

 private:
  int code_ = 0;
  std::string text_;
};

}  // namespace CloudStorage::Util
