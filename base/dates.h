// Dates as texts, always in UTC and never by the locale.
#pragma once

#include <chrono>
#include <string>

namespace quillmoor {

// 2013-06-04 10:04:31 +0000
std::string dateDescription(std::chrono::system_clock::time_point date);

}  // namespace quillmoor
