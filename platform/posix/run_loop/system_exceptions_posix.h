// Exceptions of the system's own, such as those of its frameworks, which it reports itself when
// nothing catches them. Its functions are hooks, which the back-end's folder defines, but for
// isCurrentExceptionOfSystem.
#pragma once

#include "quillmoor/platform/exception.h"

namespace quillmoor::platform::posix {

// Has the system call `report` with each of its own exceptions that nothing catches, null for one
// without a reason, on the thread that it escaped from, before the process terminates. Called at
// most once, from any thread. Does nothing where the system has none.
void observeSystemExceptions(void (*report)(const Exception*));

// Whether the exception whose type_info has the name `typeName` is the system's own, and so is
// reported as above. Called by isCurrentExceptionOfSystem. False where the system has none.
bool isSystemException(const char* typeName) noexcept;

// The same for the exception that is being handled.
bool isCurrentExceptionOfSystem() noexcept;

}  // namespace quillmoor::platform::posix
