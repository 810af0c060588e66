#include "quillmoor/platform/macos/locations/console_user_macos.h"

#include <SystemConfiguration/SystemConfiguration.h>

#include "quillmoor/platform/macos/ground/core_foundation_macos.h"

namespace quillmoor::platform::macos {

OptionalString consoleUser() {
    const CFOwned<CFStringRef> name(::SCDynamicStoreCopyConsoleUser(nullptr, nullptr, nullptr));
    return textOf(name.get());
}

}  // namespace quillmoor::platform::macos
