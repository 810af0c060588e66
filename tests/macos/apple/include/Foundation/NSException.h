// What <Foundation/NSException.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSDictionary, NSString;
typedef NSString* NSExceptionName;

__attribute__((__objc_exception__))
@interface NSException : NSObject<NSCopying>
+ (NSException*)exceptionWithName:(NSExceptionName)name
                           reason:(nullable NSString*)reason
                         userInfo:(nullable NSDictionary*)userInfo;
@property(readonly, copy) NSExceptionName name;
@property(nullable, readonly, copy) NSString* reason;
- (void)raise;
@end

typedef void NSUncaughtExceptionHandler(NSException* exception);
FOUNDATION_EXPORT void NSSetUncaughtExceptionHandler(NSUncaughtExceptionHandler* _Nullable handler);

NS_ASSUME_NONNULL_END
