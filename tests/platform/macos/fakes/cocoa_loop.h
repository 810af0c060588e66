// Cocoa's own run loop of the main thread, for tests in C++.
#pragma once

#include <functional>
#include <string>
#include <vector>

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

// The application object of the process, as long as it lives. It has one event, or none, and runs
// the run loop while it waits for that.
class FakeApplication {
  public:
    FakeApplication();
    ~FakeApplication();
    FakeApplication(const FakeApplication&) = delete;
    FakeApplication& operator=(const FakeApplication&) = delete;

    bool hasEvent = false;
    // How it was asked, as "mask mode dequeue".
    std::string asked;
    // What is called with the event, and whether it was the one that was returned.
    std::function<void(bool)> whenSent;
};

// Takes the lines of NSLog, in place of standard error, as long as it lives.
class RecordedLog {
  public:
    RecordedLog();
    ~RecordedLog();
    RecordedLog(const RecordedLog&) = delete;
    RecordedLog& operator=(const RecordedLog&) = delete;

    const std::vector<std::string>& lines() const;
};

// What NSApplication does on its way out.
void announceTermination();

}  // namespace quillmoor::test
