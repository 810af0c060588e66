// Open files as NSFileHandle objects, in both directions.
#pragma once

#import <Foundation/Foundation.h>

#include <memory>

#include "quillmoor/platform/file_handle.h"

namespace quillmoor::objc {

// The wrapper of a file of the library, or the object that the file was made of. It writes, reads
// what is available, seeks to the end and closes; nothing else. nil for null.
NSFileHandle* fromFileHandle(const std::shared_ptr<platform::FileHandle>& handle);

// The same file for the library; null for nil.
std::shared_ptr<platform::FileHandle> toFileHandle(NSFileHandle* handle);

}  // namespace quillmoor::objc
