#pragma once

#include <utility>

namespace CloudStorage::Util {

/// The return value of every client operation: a result or an error. isSuccess() states which of
/// the two is valid.
template <typename Result, typename Error>
class Outcome {
 public:
  // Implicit, so that an operation can return either of them.
  Outcome(Result result) : result_(std::move(result)), success_(true) {}
  Outcome(Error error) : error_(std::move(error)) {}

  bool isSuccess() const { return success_; }
  const Result& getResult() const& { return result_; }
  Result getResult() && { return std::move(result_); }
  const Error& getError() const& { return error_; }
  Error getError() && { return std::move(error_); }

 private:
  Result result_{};
  Error error_{};
  bool success_ = false;
};

}  // namespace CloudStorage::Util
