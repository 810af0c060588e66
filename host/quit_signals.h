// An orderly end when the system or a terminal asks for one.
#pragma once

namespace quillmoor::host {

// From now on SIGTERM, SIGINT and SIGHUP end the event loop instead of the process. Call once, on
// the main thread, with an application object.
void quitOnSignals();

}  // namespace quillmoor::host
