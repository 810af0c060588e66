// SOURCE_DATE_EPOCH, which reproducible builds use as the latest date of their files.
#pragma once

#include <cstdint>
#include <optional>

namespace quillmoor::ditto {

// Returns the value of the environment's SOURCE_DATE_EPOCH, in seconds since 1970; nothing if it is
// not set. Throws Failure for anything but the digits of a date before the year 10000.
std::optional<std::int64_t> sourceDateEpoch();

}  // namespace quillmoor::ditto
