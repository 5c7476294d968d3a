#pragma once

#include "CloudStorage/Http/Transport.h"

/// The recording of the process: the requests of all clients and their responses, in a HAR file.
namespace CloudStorage::Recording {

/// Starts the recording. Returns 0, -1 if one is running, or the `errno` of the system call that
/// failed.
int start(const char* path);

/// Ends the recording. Returns 0, -1 if none is running, or the `errno` of the first write that
/// failed.
int stop();

/// Sends `request` through `transport`, and records it if a recording is running. Requests of
/// clients are sent in this way only.
Http::Response send(Http::Transport& transport, const Http::Request& request);

}  // namespace CloudStorage::Recording
