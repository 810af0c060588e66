// The user at the console.
#pragma once

#include "quillmoor/base/types.h"

namespace quillmoor::platform::macos {

// The short name, "loginwindow" at the login screen, nil when there is no user. May be called from
// any thread.
OptionalString consoleUser();

}  // namespace quillmoor::platform::macos
