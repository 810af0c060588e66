// Where C++ exceptions end. Objective-C++ cannot catch them on every system.
#pragma once

#include <functional>
#include <optional>

#include "quillmoor/platform/exception.h"

namespace quillmoor::objc {

// Calls `body` and returns the C++ exception that left it, if any. Exceptions of Objective-C pass.
std::optional<platform::Exception> exceptionFrom(const std::function<void()>& body);

}  // namespace quillmoor::objc
