#pragma once

#include <cxxabi.h>

#include <exception>
#include <optional>
#include <stdexcept>

#include "Client/ErrorMarshalling.h"
#include "CloudStorage/Client/WSError.h"

namespace CloudStorage::Client {

/// Does `work`, and gives its error. The layer's one exception barrier: what `work` throws comes
/// back as an error, too.
template <typename Work>
std::optional<Error> guarded(const Work& work) {
  try {
    return work();
  } catch (const abi::__forced_unwind&) {  // the host cancels this thread, and must be let
    throw;
  } catch (const std::invalid_argument& fault) {  // the request cannot be put into words
    return localError("InvalidRequest", fault.what());
  } catch (const std::exception& exception) {
    return localError("InternalFailure", exception.what());
  } catch (...) {
    return localError("InternalFailure", "unknown exception");
  }
}

}  // namespace CloudStorage::Client
