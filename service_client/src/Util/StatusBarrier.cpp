#include "Util/StatusBarrier.h"

#include <exception>
#include <new>
#include <string>

#include "Util/Text.h"

namespace CloudStorage::Util {
namespace {

constexpr int kInternalFailure = -1;

Status internalFailure(const char* text) {
  return {kInternalFailure, "InternalFailure: " + oneLine(text)};
}

}  // namespace

Status statusOfCurrentException() {
  try {
    try {
      throw;
    } catch (const std::exception& exception) {
      return internalFailure(exception.what());
    } catch (const abi::__forced_unwind&) {
      throw;
    } catch (...) {
      return internalFailure("unknown exception");
    }
  } catch (const std::bad_alloc&) {  // there is no memory for a longer text
    return {kInternalFailure, "std::bad_alloc"};
  }
}

}  // namespace CloudStorage::Util
