// What must be in order when the process is copied.
#pragma once

namespace quillmoor::platform {

// From now on every fork of this process calls `before` on the forking thread, then `inParent` and
// `inChild` on the two copies of that thread, before fork returns. null: nothing is called. Several
// registrations are undone in the reverse order of their `before`. Needs no service of the
// platform, so it may come before the first use of any. Without memory for the registration forks
// go on unnoticed. May be called from any thread.
void callAroundFork(void (*before)(), void (*inParent)(), void (*inChild)());

}  // namespace quillmoor::platform
