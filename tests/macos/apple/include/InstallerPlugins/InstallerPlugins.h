// The few declarations of InstallerPlugins that the sources for macOS need; see
// Foundation.h beside it.
#pragma once

#import <AppKit/AppKit.h>

typedef enum {
    InstallerDirectionForward = 0,
    InstallerDirectionBackward = 1,
    InstallerDirectionUndefined = 2
} InstallerSectionDirection;

@class InstallerPane;

@interface InstallerSection : NSObject
@end

@interface InstallerPane : NSObject
- (NSString*)title;
- (void)didEnterPane:(InstallerSectionDirection)direction;
- (BOOL)shouldExitPane:(InstallerSectionDirection)direction;
- (BOOL)gotoNextPane;
- (BOOL)gotoPreviousPane;
@end
