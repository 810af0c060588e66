#include "quillmoor/base/seconds.h"

#include <algorithm>
#include <cmath>

namespace quillmoor {

std::chrono::seconds wholeSeconds(std::chrono::duration<double> duration) {
    const double seconds = duration.count();
    if (std::isnan(seconds)) return std::chrono::seconds(0);
    // Longer than any real wait, and small enough to be added to every clock without overflow.
    // Converting a double that no integer can hold would be undefined behaviour.
    constexpr double kLimit = 1e9;
    return std::chrono::seconds(static_cast<long long>(std::clamp(seconds, -kLimit, kLimit)));
}

}  // namespace quillmoor
