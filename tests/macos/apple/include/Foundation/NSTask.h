// What <Foundation/NSTask.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSString;

@interface NSTask : NSObject
@property(nullable, copy) NSString* launchPath;
@property(nullable, retain) id standardOutput;
@property(readonly, getter=isRunning) BOOL running;
@property(readonly) int terminationStatus;
- (void)launch;
- (void)terminate;
- (void)waitUntilExit;
@end

NS_ASSUME_NONNULL_END
