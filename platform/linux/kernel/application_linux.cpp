#include "quillmoor/platform/posix/run_loop/application_posix.h"

namespace quillmoor::platform::posix {

// The system has no run loop of its own: a toolkit's is joined by attachHost.
void requestDrain(RunLoopMode) noexcept {}

bool hasApplication() {
    return false;
}

bool sendNextEventOfApplication(std::chrono::milliseconds) {
    return false;
}

void observeApplicationEnd(void (*)()) {}

}  // namespace quillmoor::platform::posix
