// Ends the host in order when the system or a terminal asks for it.
#pragma once

namespace quillmoor::host {

// From now on SIGTERM, SIGINT and SIGHUP end the event loop instead of the process. After the first
// of them SIGTERM and SIGINT end the process at once, so that a plug-in that never returns can be
// stopped; SIGHUP does not, since a closing terminal sends more than one. Call once, on the main
// thread, with an application object.
void quitOnSignals();

}  // namespace quillmoor::host
