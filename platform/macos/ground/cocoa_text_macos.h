// Texts and paths as Cocoa has them. Include it in Objective-C++ only.
#pragma once

#import <Foundation/Foundation.h>

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::macos {

// An autoreleased string; nil for bytes that are not UTF-8.
NSString* cocoaText(const std::string& bytes);

// The same for a path; nil also for an empty one and for one with a NUL.
NSString* cocoaPath(const std::string& path);

// The UTF-8 bytes, not normalised; nil for nil, and for a text that has no such form.
OptionalString bytesOf(NSString* text);

}  // namespace quillmoor::platform::macos
