// Cocoa's own run loop of the main thread, for tests in C++.
#pragma once

#include <functional>

namespace quillmoor::test {

enum class CocoaMode { Default, ModalPanel, EventTracking };

// First of all, on the main thread: GNUstep takes the thread that uses it first for the main one.
void startCocoa();

// Runs the run loop in `mode` for a few milliseconds.
void runCocoa(CocoaMode mode);

// Until `isDone` returns true, for ten seconds at most; returns whether it did.
bool runCocoaUntil(CocoaMode mode, const std::function<bool()>& isDone);

// Has `function` called on the main thread by a timer of the run loop, in the default mode.
void callByTimer(std::function<void()> function);

}  // namespace quillmoor::test
