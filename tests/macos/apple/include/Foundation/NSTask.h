// What <Foundation/NSTask.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSArray, NSDictionary, NSString;

@interface NSTask : NSObject
@property(nullable, copy) NSString* launchPath;
@property(nullable, copy) NSArray* arguments;
@property(nullable, copy) NSDictionary* environment;
@property(nullable, retain) id standardOutput;
@property(readonly) int processIdentifier;
@property(readonly, getter=isRunning) BOOL running;
@property(readonly) int terminationStatus;
- (void)interrupt;
- (void)launch;
- (void)terminate;
- (void)waitUntilExit;
@end

NS_ASSUME_NONNULL_END
