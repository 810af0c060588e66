#import "objc/KXFileManager.h"

#include <chrono>

#include "objc/bridge.h"
#include "quillmoor/files/KXFileManager.h"

using namespace quillmoor::objc;
using Files = quillmoor::KXFileManager;
using quillmoor::ShouldAuth;

@implementation KXFileManager (Removing)

+ (BOOL)removeFile:(NSString*)path {
    return guarded(__func__, NO, [&] { return Files::removeFile(toString(path)); });
}

+ (BOOL)removeFile:(NSString*)path shouldAuth:(BOOL)shouldAuth {
    return guarded(__func__, NO,
                   [&] { return Files::removeFile(toString(path), flag<ShouldAuth>(shouldAuth)); });
}

+ (BOOL)removeFile:(NSString*)path timeout:(NSInteger)timeout {
    return guarded(__func__, NO, [&] {
        return Files::removeFile(toString(path), std::chrono::seconds(timeout));
    });
}

+ (BOOL)removeFolderIfEmpty:(NSString*)folder {
    return guarded(__func__, NO, [&] { return Files::removeFolderIfEmpty(toString(folder)); });
}

@end
