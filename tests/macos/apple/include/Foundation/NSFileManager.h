// What <Foundation/NSFileManager.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObject.h>

@class NSString;

@interface NSFileManager : NSObject
@property(class, readonly, strong) NSFileManager* defaultManager;
@property(readonly, copy) NSString* currentDirectoryPath;
@end
