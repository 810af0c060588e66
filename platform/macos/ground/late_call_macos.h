// Calls of the system that it has declared obsolete, and that a later version may lack: they are
// looked up when they are needed, since a program that named them would then not start.
#pragma once

namespace quillmoor::platform::macos {

// The function or constant of that name in the libraries that are loaded; null where they have
// none. May be called from any thread.
void* findCall(const char* name);

template <typename Function>
Function lateCall(const char* name) {
    return reinterpret_cast<Function>(findCall(name));
}

// Replaces what looks the functions up and returns the one before; null means the system's own. For
// tests, which can so lack a call.
using CallFinder = void* (*)(const char* name);
CallFinder exchangeCallFinder(CallFinder finder);

}  // namespace quillmoor::platform::macos
