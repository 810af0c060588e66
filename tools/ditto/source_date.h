// The date that builds which can be repeated give to everything newer.
#pragma once

#include <cstdint>
#include <optional>

namespace quillmoor::ditto {

// The value of the environment's SOURCE_DATE_EPOCH, in seconds since 1970; nothing where it is not
// set. Throws Failure for anything but the digits of a date before the year 10000.
std::optional<std::int64_t> sourceDateEpoch();

}  // namespace quillmoor::ditto
