// Dates as texts, always in UTC and never by the locale.
#pragma once

#include <chrono>
#include <string>

namespace quillmoor {

// The date as in "2013-06-04 10:04:31 +0000": year-month-day, 24 hours, and always the offset of
// UTC. Fractions of a second are cut off. May be called from any thread. Throws std::bad_alloc.
std::string dateDescription(std::chrono::system_clock::time_point date);

}  // namespace quillmoor
