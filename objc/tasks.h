// Child processes as NSTask objects, in both directions.
#pragma once

#import <Foundation/Foundation.h>

#include <memory>

#include "quillmoor/platform/task.h"

namespace quillmoor::objc {

// The wrapper of a child of the library, or the object that the child was made of. It has the
// methods that KXTaskEx.h lists. Keeps the child's pipes open. nil for null.
NSTask* fromTask(const std::shared_ptr<platform::Task>& task);

// The same child for the library; null for nil. A child of the caller's is configured already, and
// cannot be configured again.
std::shared_ptr<platform::Task> toTask(NSTask* task);

}  // namespace quillmoor::objc
