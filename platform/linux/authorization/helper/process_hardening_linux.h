// What a process with rights must not take over from whoever had it started.
#pragma once

namespace quillmoor::platform::linux_::authorization::helper {

// Leaves nothing of the user's that could mislead this process or the tools it starts: descriptors
// but standard error, environment, signals, limits, groups, terminal, working folder. NO when that
// cannot be had.
bool hardenProcess();

}  // namespace quillmoor::platform::linux_::authorization::helper
