// The event by which the Finder is asked to read an item again.
#pragma once

#include <CoreServices/CoreServices.h>

namespace quillmoor::platform::macos {

// Sends it without waiting for a reply. Returns the status of the first step that failed, -1 where
// the system has no aliases any more. May be called from any thread.
OSStatus sendFinderUpdate(const FSRef& item);

}  // namespace quillmoor::platform::macos
