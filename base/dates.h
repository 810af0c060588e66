// Dates as texts, always in UTC and never by the locale.
//
//   dateDescription(std::chrono::system_clock::time_point{})   // 1970-01-01 00:00:00 +0000
#pragma once

#include <chrono>
#include <string>

namespace quillmoor {

// The date as in "2013-06-04 10:04:31 +0000": year-month-day, 24 hours, and always the offset of
// UTC. Fractions of a second are rounded down, before 1970 as well. May be called from any thread.
// Throws std::bad_alloc.
std::string dateDescription(std::chrono::system_clock::time_point date);

}  // namespace quillmoor
