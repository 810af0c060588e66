// Dates of files, as the kernel and as the C++ library have them.
#pragma once

#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <ratio>

namespace quillmoor::platform::posix {

// File systems store dates outside the clock's range.
inline std::chrono::system_clock::time_point dateOf(const timespec& time) {
    using std::chrono::duration_cast;
    using std::chrono::nanoseconds;
    using std::chrono::seconds;
    using std::chrono::system_clock;
    using Duration = system_clock::duration;
    constexpr seconds kEarliest = std::chrono::ceil<seconds>(Duration::min());
    // A second less than the latest, since the nanoseconds are added to it.
    constexpr seconds kLatest = std::chrono::floor<seconds>(Duration::max()) - seconds(1);
    const seconds whole = std::clamp(seconds(time.tv_sec), kEarliest, kLatest);
    // Converted separately: the clock's unit may be coarser than nanoseconds and its range wider.
    return system_clock::time_point(Duration(whole) +
                                    duration_cast<Duration>(nanoseconds(time.tv_nsec)));
}

inline timespec timeOf(std::chrono::system_clock::time_point date) {
    // By division: std::chrono::floor overflows at the ends of the clock's range.
    using std::chrono::nanoseconds;
    using std::chrono::seconds;
    using Duration = std::chrono::system_clock::duration;
    constexpr std::int64_t kSecond = Duration(seconds(1)).count();
    const std::int64_t count = date.time_since_epoch().count();
    const std::int64_t whole = count / kSecond;
    const std::int64_t rest = nanoseconds(Duration(count % kSecond)).count();
    return rest < 0 ? timespec{whole - 1, rest + std::nano::den} : timespec{whole, rest};
}

}  // namespace quillmoor::platform::posix
