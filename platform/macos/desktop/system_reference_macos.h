// The system's own references to items. The calls are obsolete: where the system lacks them there
// are no references.
#pragma once

#include <CoreServices/CoreServices.h>

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::macos {

// Makes a reference to the item of an absolute path. False, with `item` unchanged, if there is
// none. May be called from any thread.
bool systemReferenceOf(const std::string& path, FSRef& item);

// The path that the item has now; nil if there is no item any more. May be called from any thread.
OptionalPath pathOfSystemReference(const FSRef& item);

}  // namespace quillmoor::platform::macos
