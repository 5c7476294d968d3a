#pragma once

#include <cxxabi.h>

#include "CloudStorage/Util/Status.h"

namespace CloudStorage::Util {

/// The status for the exception that is being handled, with the code -1.
Status statusOfCurrentException();

/// The exception barrier of functions that return a status: what `work` returns, or the status for
/// the exception that it throws.
template <typename Work>
Status guardedStatus(const Work& work) {
  try {
    return work();
  } catch (const abi::__forced_unwind&) {  // the thread is cancelled; unwinding must continue
    throw;
  } catch (...) {
    return statusOfCurrentException();
  }
}

}  // namespace CloudStorage::Util
