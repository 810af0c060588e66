// The few declarations of AppKit that the sources for macOS need; see Foundation.h beside it.
#pragma once

#import <Foundation/Foundation.h>

@interface NSView : NSObject
- (void)setHidden:(BOOL)hidden;
@end

@interface NSControl : NSView
@end

@interface NSTextField : NSControl
@end

@interface NSButton : NSControl
@end
