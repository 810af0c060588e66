// What <Foundation/NSOperation.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSOperation : NSObject
- (void)waitUntilFinished;
@end

@interface NSInvocationOperation : NSOperation
- (nullable instancetype)initWithTarget:(id)target
                               selector:(SEL)selector
                                 object:(nullable id)object;
@end

@interface NSOperationQueue : NSObject
@property NSInteger maxConcurrentOperationCount;
@property(readonly) NSUInteger operationCount;
- (void)addOperation:(NSOperation*)operation;
- (void)waitUntilAllOperationsAreFinished;
@end

NS_ASSUME_NONNULL_END
