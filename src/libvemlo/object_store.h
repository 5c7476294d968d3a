#pragma once

#include "CloudStorage/Client/WSError.h"

// How the functions of the object stores, S3 and Azure, report a failed call.
namespace libvemlo {

// The error's type, which is the result code.
int resultCodeOf(const CloudStorage::Client::Error& error);
// Logs the error and returns its result code.
int reportFailure(const CloudStorage::Client::Error& error);

}  // namespace libvemlo
