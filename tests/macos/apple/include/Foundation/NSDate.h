// What <Foundation/NSDate.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObject.h>

typedef double NSTimeInterval;

@interface NSDate : NSObject <NSCopying>
+ (instancetype)dateWithTimeIntervalSinceNow:(NSTimeInterval)seconds;
@property(readonly) NSTimeInterval timeIntervalSince1970;
@end
