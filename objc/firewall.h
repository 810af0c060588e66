// Where C++ exceptions end. Objective-C++ cannot catch them on every system.
#pragma once

#include <functional>
#include <optional>

#include "quillmoor/platform/exception.h"

namespace quillmoor::objc {

// Calls `body`, which catches what it raises as NSException, and returns the C++ exception that
// left it, if any.
std::optional<platform::Exception> thrownBy(const std::function<void()>& body);

}  // namespace quillmoor::objc
