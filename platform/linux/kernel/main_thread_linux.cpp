#include <unistd.h>

#include "quillmoor/platform/posix/run_loop/main_thread_posix.h"

namespace quillmoor::platform::posix {

bool isFirstThread() {
    // A process has the number of its first thread. In a child made by fork that is the thread that
    // called it.
    return ::gettid() == ::getpid();
}

}  // namespace quillmoor::platform::posix
