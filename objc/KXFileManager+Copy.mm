#import "objc/KXFileManager.h"

#include <chrono>

#include "objc/bridge.h"
#include "quillmoor/files/KXFileManager.h"

using namespace quillmoor::objc;
using Files = quillmoor::KXFileManager;
using quillmoor::ShouldAuth;

@implementation KXFileManager (Copying)

+ (BOOL)copyFile:(NSString*)path toPath:(NSString*)toPath {
    return guarded(__func__, NO, [&] { return Files::copyFile(toString(path), toString(toPath)); });
}

+ (BOOL)copyFile:(NSString*)path toPath:(NSString*)toPath shouldAuth:(BOOL)shouldAuth {
    return guarded(__func__, NO, [&] {
        return Files::copyFile(toString(path), toString(toPath), flag<ShouldAuth>(shouldAuth));
    });
}

+ (BOOL)copyFile:(NSString*)path toPath:(NSString*)toPath timeout:(NSInteger)timeout {
    return guarded(__func__, NO, [&] {
        return Files::copyFile(toString(path), toString(toPath), std::chrono::seconds(timeout));
    });
}

+ (BOOL)copyContentsOfDirectory:(NSString*)directory
                         toPath:(NSString*)toPath
                        timeout:(NSInteger)timeout {
    return guarded(__func__, NO, [&] {
        return Files::copyContentsOfDirectory(toString(directory), toString(toPath),
                                              std::chrono::seconds(timeout));
    });
}

@end
