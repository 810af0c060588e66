#import "objc/KXFileManager.h"

#include <chrono>

#include "objc/bridge.h"
#include "quillmoor/files/KXFileManager.h"

using namespace quillmoor::objc;
using Files = quillmoor::KXFileManager;
using quillmoor::ShouldAuth;

@implementation KXFileManager (Creating)

+ (BOOL)createDirectory:(NSString*)path {
    return guarded(__func__, NO, [&] { return Files::createDirectory(toString(path)); });
}

+ (BOOL)createDirectory:(NSString*)path shouldAuth:(BOOL)shouldAuth {
    return guarded(__func__, NO, [&] {
        return Files::createDirectory(toString(path), flag<ShouldAuth>(shouldAuth));
    });
}

+ (BOOL)createDirectory:(NSString*)path timeout:(NSInteger)timeout {
    return guarded(__func__, NO, [&] {
        return Files::createDirectory(toString(path), std::chrono::seconds(timeout));
    });
}

+ (NSString*)createDirectoryStructure:(NSString*)path destination:(NSString*)destination {
    return guarded(__func__, static_cast<NSString*>(nil), [&] {
        return fromString(Files::createDirectoryStructure(toString(path), toString(destination)));
    });
}

+ (BOOL)createEmptyFile:(NSString*)path {
    return guarded(__func__, NO, [&] { return Files::createEmptyFile(toString(path)); });
}

@end
