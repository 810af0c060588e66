// An exception of Cocoa's, for tests in C++.
#pragma once

namespace quillmoor::test {

// Raises an NSException; null for `reason`: without one.
[[noreturn]] void raiseCocoaException(const char* name, const char* reason);

}  // namespace quillmoor::test
