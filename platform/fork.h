// Functions that are called around a fork of the process.
#pragma once

namespace quillmoor::platform {

// From now on every fork of this process calls `before` on the forking thread, then `inParent` in
// the parent and `inChild` in the child, before fork returns. null: nothing is called. The last
// `before` registered is called first, the last `inParent` and `inChild` last. Uses no service of
// the platform, so it may be called before any of them. Lack of memory for the registration is not
// reported. May be called from any thread.
void callAroundFork(void (*before)(), void (*inParent)(), void (*inChild)());

}  // namespace quillmoor::platform
