// What <Foundation/NSDictionary.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSEnumerator.h>
#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSDictionary<__covariant KeyType, __covariant ObjectType>
    : NSObject <NSCopying, NSFastEnumeration>
+ (instancetype)dictionary;
+ (instancetype)dictionaryWithObject:(ObjectType)object forKey:(KeyType<NSCopying>)key;
- (nullable ObjectType)objectForKey:(KeyType)key;
@end

@interface NSMutableDictionary<KeyType, ObjectType> : NSDictionary <KeyType, ObjectType>
- (void)setObject:(ObjectType)object forKey:(KeyType<NSCopying>)key;
@end

NS_ASSUME_NONNULL_END
