// What <Foundation/NSObject.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObjCRuntime.h>

#include <objc/NSObject.h>

@protocol NSCopying
- (id)copyWithZone:(NSZone*)zone;
@end

FOUNDATION_EXPORT id NSAllocateObject(Class wanted, NSUInteger extraBytes, NSZone* zone);
