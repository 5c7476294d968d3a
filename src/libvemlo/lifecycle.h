#pragma once

namespace libvemlo {

// Sets the logger up, once in the life of the process; every later call does nothing. Not
// synchronized.
void setUpLogger();

}  // namespace libvemlo
