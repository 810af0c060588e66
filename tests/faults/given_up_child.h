// What a program does after the fault that lets it collect the children it could not collect during
// the fault.
#pragma once

#include "quillmoor/platform/platform.h"

namespace quillmoor::test {

// Gives up a child that still runs and then ends. The thread that collects such children, and its
// descriptor, exist from now on in each run, and are allowed to stay.
inline void giveUpARunningChild() {
    const platform::Platform& native = platform::native();
    const platform::Pipe input = native.fileHandles->makePipe();
    const auto task = native.tasks->makeTask();
    task->setLaunchPath("/bin/cat");
    task->setStandardInput(input);
    task->setStandardOutput(native.fileHandles->nullDevice());
    task->launch();
}

}  // namespace quillmoor::test
