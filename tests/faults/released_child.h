// Starting the reaper after a fault, so that it collects the children that it could not collect
// during the fault.
#pragma once

#include "quillmoor/platform/platform.h"

namespace quillmoor::test {

// Releases the task of a running child, which then ends. The reaper's thread and descriptor exist
// from now on in each run, and are allowed to remain.
inline void releaseRunningChild() {
    const platform::Platform& native = platform::native();
    const platform::Pipe input = native.fileHandles->makePipe();
    const auto task = native.tasks->makeTask();
    task->setLaunchPath("/bin/cat");
    task->setStandardInput(input);
    task->setStandardOutput(native.fileHandles->nullDevice());
    task->launch();
}

}  // namespace quillmoor::test
