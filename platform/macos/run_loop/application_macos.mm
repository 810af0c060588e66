#include "quillmoor/platform/posix/run_loop/application_posix.h"

#import <AppKit/AppKit.h>
#include <objc/runtime.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

#include "quillmoor/platform/macos/ground/cocoa_calls_macos.h"
#include "quillmoor/platform/macos/ground/cocoa_text_macos.h"

namespace quillmoor::platform::posix {
namespace {

// Cocoa's run loop expects exceptions of its own only, which an application contains.
void drain(RunLoopMode mode) {
    const std::optional<Exception> thrown = drainAsRequested(mode);
    if (!thrown) return;
    NSString* const name = macos::cocoaText(thrown->name());
    [[NSException exceptionWithName:name != nil ? name : @"NSGenericException"
                             reason:macos::cocoaText(thrown->reason())
                           userInfo:nil] raise];
}

void drainDefaultMode(id, SEL) {
    drain(RunLoopMode::Default);
}

void drainModalModes(id, SEL) {
    drain(RunLoopMode::ModalPanel);
}

std::atomic<void (*)()> endObserver{nullptr};

void applicationWillTerminate(id, SEL, NSNotification*) {
    if (const auto observer = endObserver.load()) observer();
}

template <typename Method>
void addMethod(Class made, SEL selector, Method method, const char* types) {
    class_addMethod(made, selector, reinterpret_cast<IMP>(method), types);
}

// The class is made here and named after an address: each copy of this library in a process, such
// as those of two plug-ins, has its own. Of two classes with one name the runtime uses one for
// both, and the other copy's queue would not be served.
id makeMainThreadCalls() {
    static const char ownAddress = 0;
    const std::string name =
        "KXMainThreadCalls_" + std::to_string(reinterpret_cast<std::uintptr_t>(&ownAddress));
    const Class made = objc_allocateClassPair([NSObject class], name.c_str(), 0);
    addMethod(made, @selector(drainDefaultMode), drainDefaultMode, "v@:");
    addMethod(made, @selector(drainModalModes), drainModalModes, "v@:");
    addMethod(made, @selector(applicationWillTerminate:), applicationWillTerminate, "v@:@");
    objc_registerClassPair(made);
    return [[made alloc] init];
}

// The object whose methods Cocoa calls on the main thread. Never released.
id mainThreadCalls() {
    static const id object = makeMainThreadCalls();
    return object;
}

}  // namespace

void requestDrain(RunLoopMode mode) noexcept {
    @autoreleasepool {
        // GNUstep makes a call of the main thread to itself at once while there is no run loop,
        // which is made at its first use.
        if ([NSThread isMainThread]) [NSRunLoop currentRunLoop];
        const bool modal = mode == RunLoopMode::ModalPanel;
        NSArray* const modes = modal ? [NSArray arrayWithObjects:NSModalPanelRunLoopMode,
                                                                 NSEventTrackingRunLoopMode, nil]
                                     : [NSArray arrayWithObject:NSDefaultRunLoopMode];
        [mainThreadCalls() performSelectorOnMainThread:modal ? @selector(drainModalModes)
                                                             : @selector(drainDefaultMode)
                                            withObject:nil
                                         waitUntilDone:NO
                                                 modes:modes];
    }
}

bool hasApplication() {
    return NSApp != nil;
}

bool sendNextEventOfApplication(std::chrono::milliseconds longest) {
    return macos::fromCocoa([longest] {
        const std::chrono::duration<double> seconds = longest;
        NSEvent* const event =
            [NSApp nextEventMatchingMask:NSUIntegerMax
                               untilDate:[NSDate dateWithTimeIntervalSinceNow:seconds.count()]
                                  inMode:NSModalPanelRunLoopMode
                                 dequeue:YES];
        if (event == nil) return false;
        [NSApp sendEvent:event];
        return true;
    });
}

void observeApplicationEnd(void (*callback)()) {
    endObserver = callback;
    @autoreleasepool {
        [[NSNotificationCenter defaultCenter] addObserver:mainThreadCalls()
                                                 selector:@selector(applicationWillTerminate:)
                                                     name:NSApplicationWillTerminateNotification
                                                   object:nil];
    }
}

}  // namespace quillmoor::platform::posix
