#pragma once

namespace libvemlo {

// Initializes the logger on the first call in the process; later calls do nothing. Not
// synchronized.
void setUpLogger();

}  // namespace libvemlo
