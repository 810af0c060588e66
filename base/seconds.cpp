#include "quillmoor/base/seconds.h"

#include <algorithm>
#include <cmath>

namespace quillmoor {

std::chrono::seconds wholeSeconds(std::chrono::duration<double> duration) {
    const double seconds = duration.count();
    if (std::isnan(seconds)) return std::chrono::seconds(0);
    // Far beyond any wait, and small enough for every clock that a sleep is added to.
    constexpr double kLimit = 1e9;
    return std::chrono::seconds(static_cast<long long>(std::clamp(seconds, -kLimit, kLimit)));
}

}  // namespace quillmoor
