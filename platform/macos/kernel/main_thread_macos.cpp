#include <pthread.h>

#include "quillmoor/platform/posix/run_loop/main_thread_posix.h"

namespace quillmoor::platform::posix {

bool isFirstThread() {
    return ::pthread_main_np() != 0;
}

}  // namespace quillmoor::platform::posix
