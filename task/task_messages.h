// Texts that more than one of the task operations report: some on the console, some in the log.
#pragma once

namespace quillmoor::task_detail {

inline constexpr char kNotExecutable[] = "Error: %@ is not executable";
inline constexpr char kExceptionRunningTask[] = "Exception running task %@: %@";

}  // namespace quillmoor::task_detail
