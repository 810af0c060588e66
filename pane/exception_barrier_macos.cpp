#include "quillmoor/pane/exception_barrier_macos.h"

namespace quillmoor {

bool callContained(void (*function)(void*), void* data) noexcept {
    try {
        function(data);
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace quillmoor
