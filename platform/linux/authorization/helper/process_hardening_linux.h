// What the helper resets from the environment it inherits.
#pragma once

namespace quillmoor::platform::linux_::authorization::helper {

// Resets everything inherited from the user that could mislead this process or the tools it starts:
// descriptors except standard error, environment, signals, limits, groups, terminal, working
// folder. False when any of that fails; the process must then exit.
bool hardenProcess();

}  // namespace quillmoor::platform::linux_::authorization::helper
