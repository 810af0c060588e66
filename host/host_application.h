// The program: from options to an exit status.
#pragma once

#include "host/options.h"

namespace quillmoor::host {

// Shows the window, or draws it off screen if there is no display, until it is closed or the script
// has ended. Call once, on the main thread. Returns the exit status.
int runHost(const Options& options);

}  // namespace quillmoor::host
