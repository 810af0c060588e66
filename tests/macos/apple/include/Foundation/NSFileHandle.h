// What <Foundation/NSFileHandle.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSData, NSString;

@interface NSFileHandle : NSObject
@property(readonly, copy) NSData* availableData;
- (void)writeData:(NSData*)data;
- (unsigned long long)seekToEndOfFile;
- (void)closeFile;
@end

@interface NSPipe : NSObject
@property(readonly, retain) NSFileHandle* fileHandleForReading;
@end

FOUNDATION_EXPORT NSString* const NSFileHandleNotificationDataItem;

NS_ASSUME_NONNULL_END
