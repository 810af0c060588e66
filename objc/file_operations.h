// Copies in the background, and the delegates that receive their progress.
#pragma once

#import "objc/KXPlatformTypes.h"
#include "quillmoor/files/FileOperationDelegate.h"

namespace quillmoor::objc {

// The delegate for the library, which finds out what the object responds to; retains it. null for
// nil.
FileOperationDelegateRef toDelegate(id delegate);

// The operation that a delegate was given; null for NULL, and for a copy that has ended.
platform::FileOperationRef toOperation(FSFileOperationRef operation);

}  // namespace quillmoor::objc
