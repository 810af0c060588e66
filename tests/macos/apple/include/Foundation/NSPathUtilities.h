// What <Foundation/NSPathUtilities.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSArray<ObjectType>, NSString;

typedef NS_ENUM(NSUInteger, NSSearchPathDirectory) { NSApplicationDirectory = 1 };
typedef NS_OPTIONS(NSUInteger, NSSearchPathDomainMask) { NSUserDomainMask = 1 };

FOUNDATION_EXPORT NSString* NSUserName(void);
FOUNDATION_EXPORT NSString* NSHomeDirectory(void);
FOUNDATION_EXPORT NSString* _Nullable NSHomeDirectoryForUser(NSString* _Nullable name);
FOUNDATION_EXPORT NSString* NSTemporaryDirectory(void);
FOUNDATION_EXPORT NSArray<NSString*>* NSSearchPathForDirectoriesInDomains(
    NSSearchPathDirectory directory, NSSearchPathDomainMask domains, BOOL expandTilde);

NS_ASSUME_NONNULL_END
