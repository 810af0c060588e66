#include "tests/platform/macos/fakes/cocoa_exception.h"

#import <Foundation/Foundation.h>
#include <stdlib.h>

// GNUstep gives an exception a reason that was made without one.
@interface ReasonlessException : NSException
@end

@implementation ReasonlessException
- (NSString*)reason {
    return nil;
}
@end

namespace quillmoor::test {

void raiseCocoaException(const char* name, const char* reason) {
    @autoreleasepool {
        NSString* const text = reason != nullptr ? [NSString stringWithUTF8String:reason] : nil;
        const Class made = reason != nullptr ? [NSException class] : [ReasonlessException class];
        [[made exceptionWithName:[NSString stringWithUTF8String:name] reason:text
                        userInfo:nil] raise];
    }
    abort();
}

}  // namespace quillmoor::test
