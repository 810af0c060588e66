#import "objc/KXFileManager.h"

#include "objc/bridge.h"
#include "quillmoor/files/KXFileManager.h"

using namespace quillmoor::objc;
using Files = quillmoor::KXFileManager;

@implementation KXFileManager (Names)

+ (NSArray*)filesMatchingWildcardPath:(NSString*)path {
    return guarded(__func__, static_cast<NSArray*>([NSArray array]),
                   [&] { return fromList(Files::filesMatchingWildcardPath(toString(path))); });
}

+ (NSArray*)filesMatchingWildcardPath:(NSString*)path fromBasePath:(NSString*)basePath {
    return guarded(__func__, static_cast<NSArray*>([NSArray array]), [&] {
        return fromList(Files::filesMatchingWildcardPath(toString(path), toString(basePath)));
    });
}

+ (NSString*)decodeWildcardPath:(NSString*)path fromBasePath:(NSString*)basePath {
    return guarded(__func__, static_cast<NSString*>(nil), [&] {
        return fromString(Files::decodeWildcardPath(toString(path), toString(basePath)));
    });
}

+ (NSString*)validateFilename:(NSString*)name {
    return guarded(__func__, static_cast<NSString*>(nil),
                   [&] { return fromString(Files::validateFilename(toString(name))); });
}

+ (NSString*)uniqueFilename:(NSString*)path {
    return guarded(__func__, static_cast<NSString*>(nil),
                   [&] { return fromString(Files::uniqueFilename(toString(path))); });
}

@end
