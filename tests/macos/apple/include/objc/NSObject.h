// What <objc/NSObject.h> of macOS declares, as far as the project uses it.
#pragma once

#include <objc/objc.h>

@class NSMethodSignature;
typedef struct _NSZone NSZone;

@protocol NSObject
- (Class)class;
- (BOOL)isKindOfClass:(Class)wanted;
- (BOOL)respondsToSelector:(SEL)selector;
- (instancetype)retain;
- (oneway void)release;
- (instancetype)autorelease;
- (NSUInteger)retainCount;
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject> {
    Class isa;
}
+ (instancetype)alloc;
+ (instancetype)allocWithZone:(NSZone*)zone;
+ (Class)class;
- (instancetype)init;
- (id)copy;
- (void)dealloc;
- (void)finalize KX_DEPRECATED(10.0, 10.5);
- (NSMethodSignature*)methodSignatureForSelector:(SEL)selector;
@end
