#include "quillmoor/platform/fork.h"

#include <pthread.h>

namespace quillmoor::platform {

void callAroundFork(void (*before)(), void (*inParent)(), void (*inChild)()) {
    static_cast<void>(::pthread_atfork(before, inParent, inChild));
}

}  // namespace quillmoor::platform
