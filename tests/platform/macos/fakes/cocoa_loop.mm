#include "tests/platform/macos/fakes/cocoa_loop.h"

#import <AppKit/AppKit.h>
#include <gtest/gtest.h>
#include <objc/runtime.h>
#include <stdlib.h>

#include <chrono>
#include <cstddef>
#include <utility>

namespace {

// Before a test has threads: while GNUstep sets up this class it has the runtime's lock, and wants
// one of its own, which a thread that calls the main one takes in the other order.
class RunLoopSetUp : public ::testing::EmptyTestEventListener {
    void OnTestProgramStart(const ::testing::UnitTest&) override {
        @autoreleasepool {
            [NSRunLoop currentRunLoop];
        }
    }
};

[[maybe_unused]] const bool kIsSetUp = [] {
    ::testing::UnitTest::GetInstance()->listeners().Append(new RunLoopSetUp);
    return true;
}();

}  // namespace

@interface CocoaLoopTimer : NSObject {
  @public
    std::function<void()>* function;
}
@end

@implementation CocoaLoopTimer
- (void)fire:(NSTimer*)timer {
    (*function)();
    delete function;
}
@end

// GNUstep wakes for a call of another thread in the default mode only, Cocoa in each mode that the
// call is for. This passes on GNUstep's own wake-up in the other modes.
@interface CocoaLoopWakeUp : NSObject {
  @public
    id info;  // what GNUstep holds for the main thread
}
@end

@implementation CocoaLoopWakeUp
- (void)receivedEvent:(void*)data
                 type:(RunLoopEventType)type
                extra:(void*)extra
              forMode:(NSString*)mode {
    [info performSelector:@selector(fire)];
}
@end

@interface CocoaLoopApplication : NSObject {
  @public
    quillmoor::test::FakeApplication* owner;
    NSObject* event;
}
@end

@implementation CocoaLoopApplication
- (NSObject*)nextEventMatchingMask:(NSUInteger)mask
                         untilDate:(NSDate*)date
                            inMode:(NSString*)mode
                           dequeue:(BOOL)dequeue {
    owner->asked = (mask == NSUIntegerMax ? "all " : "some ") + std::string([mode UTF8String]) +
                   (dequeue ? " dequeue" : "");
    if (owner->hasEvent) return event;
    while ([date timeIntervalSinceNow] > 0)
        if (![[NSRunLoop currentRunLoop] runMode:mode beforeDate:date])
            [NSThread sleepUntilDate:date];
    return nil;
}
- (void)sendEvent:(NSObject*)sent {
    if (owner->whenSent) owner->whenSent(sent == event);
}
@end

namespace quillmoor::test {
namespace {

NSString* nameOf(CocoaMode mode) {
    if (mode == CocoaMode::ModalPanel) return NSModalPanelRunLoopMode;
    return mode == CocoaMode::Default ? NSDefaultRunLoopMode : NSEventTrackingRunLoopMode;
}

template <typename Value>
Value valueOf(id object, const char* variable) {
    const Ivar found = class_getInstanceVariable([object class], variable);
    if (found == nullptr) abort();
    return *reinterpret_cast<Value*>(reinterpret_cast<std::byte*>(object) + ivar_getOffset(found));
}

bool wakeInAllModes() {
    NSRunLoop* const loop = [NSRunLoop currentRunLoop];
    CocoaLoopWakeUp* const wakeUp = [[CocoaLoopWakeUp alloc] init];
    wakeUp->info = valueOf<id>([NSThread mainThread], "_runLoopInfo");
    const std::intptr_t descriptor = valueOf<int>(wakeUp->info, "inputFd");
    for (NSString *const mode in
         [NSArray arrayWithObjects:NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode, nil])
        [loop addEvent:reinterpret_cast<void*>(descriptor)
                  type:ET_RDESC
               watcher:static_cast<id<RunLoopEvents>>(wakeUp)
               forMode:mode];
    return true;
}

}  // namespace

void startCocoa() {
    [NSThread mainThread];
}

void runCocoa(CocoaMode mode) {
    @autoreleasepool {
        static const bool wakes = wakeInAllModes();
        static_cast<void>(wakes);
        NSDate* const until = [NSDate dateWithTimeIntervalSinceNow:0.005];
        // Without a source it returns at once.
        if (![[NSRunLoop currentRunLoop] runMode:nameOf(mode) beforeDate:until])
            [NSThread sleepUntilDate:until];
    }
}

bool runCocoaUntil(CocoaMode mode, const std::function<bool()>& isDone) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!isDone() && std::chrono::steady_clock::now() < end) runCocoa(mode);
    return isDone();
}

void callByTimer(std::function<void()> function) {
    @autoreleasepool {
        CocoaLoopTimer* const target = [[[CocoaLoopTimer alloc] init] autorelease];
        target->function = new std::function<void()>(std::move(function));
        [NSTimer scheduledTimerWithTimeInterval:0
                                         target:target
                                       selector:@selector(fire:)
                                       userInfo:nil
                                        repeats:NO];
    }
}

namespace {

NSLog_printf_handler* previousLog = nullptr;
std::vector<std::string> recordedLines;

void record(NSString* line) {
    recordedLines.emplace_back([line UTF8String]);
}

}  // namespace

RecordedLog::RecordedLog() {
    previousLog = _NSLog_printf_handler;
    _NSLog_printf_handler = record;
    recordedLines.clear();
}

RecordedLog::~RecordedLog() {
    _NSLog_printf_handler = previousLog;
}

const std::vector<std::string>& RecordedLog::lines() const {
    return recordedLines;
}

FakeApplication::FakeApplication() {
    CocoaLoopApplication* const application = [[CocoaLoopApplication alloc] init];
    application->owner = this;
    application->event = [[NSObject alloc] init];
    NSApp = static_cast<NSApplication*>(static_cast<id>(application));
}

FakeApplication::~FakeApplication() {
    NSApp = nil;
}

void announceTermination() {
    @autoreleasepool {
        [[NSNotificationCenter defaultCenter]
            postNotificationName:NSApplicationWillTerminateNotification
                          object:nil];
    }
}

}  // namespace quillmoor::test
