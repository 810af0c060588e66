#include <unistd.h>

#include "quillmoor/platform/posix/ground/thread_id_posix.h"

namespace quillmoor::platform::posix {

std::uint64_t currentThreadId() {
    return static_cast<std::uint64_t>(::gettid());
}

}  // namespace quillmoor::platform::posix
