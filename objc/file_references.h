// File references of the system and of the library.
#pragma once

#import "objc/KXPlatformTypes.h"
#include "quillmoor/platform/finder_info.h"

namespace quillmoor::objc {

FSRef fromReference(const platform::FileReference& reference);
platform::FileReference toReference(const FSRef& reference);

}  // namespace quillmoor::objc
