// This process, as it is described to others.
#pragma once

#include <cstdint>
#include <optional>

namespace quillmoor::platform::linux_::authorization {

// When this process was started, in ticks since the system's start. With its number it names the
// process also when the number has been given out anew. nil where the system hides it.
std::optional<std::uint64_t> ownStartTime();

}  // namespace quillmoor::platform::linux_::authorization
