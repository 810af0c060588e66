// What <Foundation/NSRange.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObjCRuntime.h>

typedef struct _NSRange {
    NSUInteger location;
    NSUInteger length;
} NSRange;

inline NSRange NSMakeRange(NSUInteger location, NSUInteger length) {
    return {location, length};
}
