// What <Foundation/NSInvocation.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSMethodSignature : NSObject
@end

@interface NSInvocation : NSObject
+ (NSInvocation*)invocationWithMethodSignature:(NSMethodSignature*)signature;
@property(nullable, assign) id target;
@property SEL selector;
- (void)setArgument:(void*)argument atIndex:(NSInteger)index;
- (void)invoke;
@end

NS_ASSUME_NONNULL_END
