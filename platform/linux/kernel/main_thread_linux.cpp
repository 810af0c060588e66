#include <unistd.h>

#include "quillmoor/platform/posix/run_loop/main_thread_posix.h"

namespace quillmoor::platform::posix {

bool isFirstThread() {
    return ::gettid() == ::getpid();
}

}  // namespace quillmoor::platform::posix
