#pragma once

#include "CloudStorage/Client/WSError.h"
#include "libvemlo/exception_barrier.h"

// How the functions of the object stores, S3 and Azure, report a failed call.
namespace libvemlo {

// The error's type, which is the result code.
int resultCodeOf(const CloudStorage::Client::Error& error);
// Logs the error and returns its result code.
int reportFailure(const CloudStorage::Client::Error& error);

// What a function returns that an exception ends: the type of a failure on this side.
inline constexpr int kLocalFailure =
    static_cast<int>(CloudStorage::Client::CoreErrors::LocalFailure);
// Logs such an exception as the error that it amounts to.
void logAsError(const char* exceptionText);

}  // namespace libvemlo
