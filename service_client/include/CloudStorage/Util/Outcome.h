#pragma once

#include <utility>

namespace CloudStorage::Util {

/// What every client operation returns: a result or an error. Ask isSuccess() first; only the
/// member that it names holds anything.
template <typename Result, typename Error>
class Outcome {
 public:
  // Not explicit: an operation returns the one or the other.
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
