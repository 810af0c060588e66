// The obsolete methods of the workspace. Include it in Objective-C++ only.
#pragma once

#import <AppKit/AppKit.h>

// Declared once more, since what sends the system's own declarations does not compile without
// warnings.
@protocol KXObsoleteWorkspace <NSObject>
- (NSString*)absolutePathForAppBundleWithIdentifier:(NSString*)identifier;
- (BOOL)openFile:(NSString*)path;
- (BOOL)performFileOperation:(NSString*)operation
                      source:(NSString*)source
                 destination:(NSString*)destination
                       files:(NSArray*)files
                         tag:(NSInteger*)tag;
@end

namespace quillmoor::platform::macos {

// The workspace, to be sent this method; nil where the system lacks it, so that the message returns
// nil or NO. May be called from any thread.
inline id<KXObsoleteWorkspace> workspaceWith(SEL method) {
    id workspace = [NSWorkspace sharedWorkspace];
    return [workspace respondsToSelector:method] ? workspace : nil;
}

}  // namespace quillmoor::platform::macos
