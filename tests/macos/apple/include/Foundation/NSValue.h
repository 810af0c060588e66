// What <Foundation/NSValue.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSString;

@interface NSValue : NSObject <NSCopying>
@property(readonly) const char* objCType __attribute__((objc_returns_inner_pointer));
@end

@interface NSNumber : NSValue
@property(readonly) BOOL boolValue;
@property(readonly) double doubleValue;
@property(readonly) long long longLongValue;
@property(readonly, copy) NSString* stringValue;
+ (NSNumber*)numberWithBool:(BOOL)value;
+ (NSNumber*)numberWithDouble:(double)value;
+ (NSNumber*)numberWithLong:(long)value;
+ (NSNumber*)numberWithLongLong:(long long)value;
@end

NS_ASSUME_NONNULL_END
