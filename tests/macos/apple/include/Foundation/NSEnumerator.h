// What <Foundation/NSEnumerator.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObject.h>

typedef struct {
    unsigned long state;
    id __unsafe_unretained* itemsPtr;
    unsigned long* mutationsPtr;
    unsigned long extra[5];
} NSFastEnumerationState;

// What `for (… in …)` calls.
@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)size;
@end
