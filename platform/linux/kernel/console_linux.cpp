#include "quillmoor/platform/posix/run_loop/console_posix.h"

namespace quillmoor::platform::posix {

bool logToSystem(std::string_view) {
    return false;
}

}  // namespace quillmoor::platform::posix
