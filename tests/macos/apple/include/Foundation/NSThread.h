// What <Foundation/NSThread.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSArray.h>
#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSThread : NSObject
@property(class, readonly) BOOL isMainThread;
@end

@interface NSObject (NSThreadPerformAdditions)
- (void)performSelectorOnMainThread:(SEL)selector
                         withObject:(nullable id)argument
                      waitUntilDone:(BOOL)wait
                              modes:(nullable NSArray*)modes;
@end

NS_ASSUME_NONNULL_END
