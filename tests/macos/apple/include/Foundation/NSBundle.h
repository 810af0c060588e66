// What <Foundation/NSBundle.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSArray<ObjectType>, NSString;

@interface NSBundle : NSObject
@property(class, readonly, strong) NSBundle* mainBundle;
@property(class, readonly, copy) NSArray<NSBundle*>* allBundles;
@property(class, readonly, copy) NSArray<NSBundle*>* allFrameworks;
@property(nullable, readonly, copy) NSString* executablePath;
+ (nullable instancetype)bundleWithPath:(NSString*)path;
- (nullable id)objectForInfoDictionaryKey:(NSString*)key;
- (nullable NSString*)pathForResource:(nullable NSString*)name ofType:(nullable NSString*)extension;
@end

NS_ASSUME_NONNULL_END
