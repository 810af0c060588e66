// What <AppKit/NSWorkspace.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef NSString* NSWorkspaceFileOperationName;

@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
- (nullable NSString*)absolutePathForAppBundleWithIdentifier:(NSString*)identifier
    KX_DEPRECATED(10.0, 11.0);
- (BOOL)isFilePackageAtPath:(NSString*)path;
- (void)noteFileSystemChanged:(NSString*)path;
- (BOOL)openFile:(NSString*)path KX_DEPRECATED(10.0, 11.0);
- (BOOL)performFileOperation:(NSWorkspaceFileOperationName)operation
                      source:(NSString*)source
                 destination:(NSString*)destination
                       files:(NSArray*)files
                         tag:(nullable NSInteger*)tag KX_DEPRECATED(10.0, 10.11);
@end

NS_ASSUME_NONNULL_END
