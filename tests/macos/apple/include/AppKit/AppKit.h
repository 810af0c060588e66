// The few declarations of AppKit that the sources for macOS need; see Foundation.h beside it.
#pragma once

#import <AppKit/NSAlert.h>
#import <AppKit/NSApplication.h>
#import <AppKit/NSColor.h>
#import <AppKit/NSControl.h>
#import <AppKit/NSWorkspace.h>
