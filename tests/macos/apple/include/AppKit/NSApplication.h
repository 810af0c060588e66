// What <AppKit/NSApplication.h> of macOS declares, as far as the project uses it.
#pragma once

#import <AppKit/NSEvent.h>
#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

APPKIT_EXTERN NSRunLoopMode const NSModalPanelRunLoopMode;
APPKIT_EXTERN NSRunLoopMode const NSEventTrackingRunLoopMode;
APPKIT_EXTERN NSNotificationName const NSApplicationWillTerminateNotification;

@interface NSApplication : NSObject
@property(class, readonly, strong) __kindof NSApplication* sharedApplication;
- (void)activateIgnoringOtherApps:(BOOL)ignore;
- (nullable NSEvent*)nextEventMatchingMask:(NSEventMask)mask
                                 untilDate:(nullable NSDate*)expiration
                                    inMode:(NSRunLoopMode)mode
                                   dequeue:(BOOL)dequeue;
- (void)sendEvent:(NSEvent*)event;
@end

APPKIT_EXTERN __kindof NSApplication* _Null_unspecified NSApp;

NS_ASSUME_NONNULL_END
