// What <Foundation/NSProcessInfo.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObject.h>

@class NSString;

@interface NSProcessInfo : NSObject
@property(class, readonly, strong) NSProcessInfo* processInfo;
@property(readonly, copy) NSString* globallyUniqueString;
@property(readonly, copy) NSString* operatingSystemVersionString;
@property(readonly) NSUInteger processorCount;
@property(readonly) unsigned long long physicalMemory;
@end
