// The identity of this process for other programs.
#pragma once

#include <cstdint>
#include <optional>

namespace quillmoor::platform::linux_::authorization {

// When this process was started, in ticks since the system's start. Together with its id it
// identifies the process also after the id was reused. nil where the system hides it.
std::optional<std::uint64_t> ownStartTime();

}  // namespace quillmoor::platform::linux_::authorization
