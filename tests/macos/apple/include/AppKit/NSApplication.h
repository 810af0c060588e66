// What <AppKit/NSApplication.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSApplication : NSObject
@property(class, readonly, strong) __kindof NSApplication* sharedApplication;
- (void)activateIgnoringOtherApps:(BOOL)ignore;
@end

NS_ASSUME_NONNULL_END
