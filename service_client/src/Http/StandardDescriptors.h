#pragma once

/// A host may run with standard descriptors closed. A connection that takes the place of one of
/// them would receive what the host writes there, such as log lines.
namespace CloudStorage::Http {

/// Opens the null device in the place of each standard descriptor that is closed, for sockets that
/// libraries open by themselves.
void occupyStandardDescriptors();

/// The descriptor that replaces `descriptor`, which is closed, if it is a standard descriptor;
/// -1 if there is none. Any other descriptor is returned as it is.
int moveAboveStandard(int descriptor);

}  // namespace CloudStorage::Http
