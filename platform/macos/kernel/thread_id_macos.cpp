#include <pthread.h>

#include "quillmoor/platform/posix/ground/thread_id_posix.h"

namespace quillmoor::platform::posix {

std::uint64_t currentThreadId() {
    std::uint64_t number = 0;
    ::pthread_threadid_np({}, &number);  // of the calling thread
    return number;
}

}  // namespace quillmoor::platform::posix
