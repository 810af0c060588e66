#include "quillmoor/platform/posix/run_loop/system_exceptions_posix.h"

namespace quillmoor::platform::posix {

void observeSystemExceptions(void (*)(const Exception*)) {}

bool isSystemException(const char*) noexcept {
    return false;
}

}  // namespace quillmoor::platform::posix
