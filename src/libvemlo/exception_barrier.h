#pragma once

#include <cxxabi.h>

#include <functional>
#include <type_traits>

// What keeps exceptions from leaving the exported functions. They come from a lack of memory, from
// a service-client layer that the host provides, or from the operating system, such as a lock that
// fails.
namespace libvemlo {

// Writes a line to the log. A line that cannot be written for lack of memory is lost, and does not
// change the result of the function that logs it.
template <typename Write>
void writeLine(const Write& write) {
  try {
    write();
  } catch (const abi::__forced_unwind&) {  // the thread is cancelled; unwinding must continue
    throw;
  } catch (...) {  // NOLINT(bugprone-empty-catch): there is nowhere left to report this
  }
}

// How an exception is logged that ends an exported function.
using ExceptionLog = std::function<void(const char* exceptionText)>;

// As the failures of most functions: a text of the function, then that of the exception.
struct LoggedAs {
  const char* failureText;
  void operator()(const char* exceptionText) const;
};

// For functions that do not log their failures.
inline void notLogged(const char* /*exceptionText*/) {}

// Logs the exception that is being handled.
void logCurrentException(const ExceptionLog& log);

// The result of `work`. If it throws, logs the exception and returns `failure`.
template <typename Work, typename Log>
std::invoke_result_t<Work> guarded(std::invoke_result_t<Work> failure, const Log& log,
                                   const Work& work) {
  try {
    return work();
  } catch (const abi::__forced_unwind&) {  // as above
    throw;
  } catch (...) {
    logCurrentException(log);
    return failure;
  }
}

}  // namespace libvemlo
