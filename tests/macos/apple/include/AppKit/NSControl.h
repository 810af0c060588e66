// What <AppKit/NSControl.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/Foundation.h>

@interface NSView : NSObject
@property(getter=isHidden) BOOL hidden;
@end

@interface NSControl : NSView
@end

@interface NSTextField : NSControl
@end

@interface NSButton : NSControl
@end
