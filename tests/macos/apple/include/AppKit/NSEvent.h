// What <AppKit/NSEvent.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/Foundation.h>

#ifdef __cplusplus
#define APPKIT_EXTERN extern "C"
#else
#define APPKIT_EXTERN extern
#endif

typedef unsigned long long NSEventMask;

@interface NSEvent : NSObject
@end
