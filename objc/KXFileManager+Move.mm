#import "objc/KXFileManager.h"

#include <chrono>

#include "objc/bridge.h"
#include "quillmoor/files/KXFileManager.h"

using namespace quillmoor::objc;
using Files = quillmoor::KXFileManager;
using quillmoor::ShouldAuth;

@implementation KXFileManager (Moving)

+ (BOOL)moveFile:(NSString*)path toPath:(NSString*)toPath {
    return guarded(__func__, NO, [&] { return Files::moveFile(toString(path), toString(toPath)); });
}

+ (BOOL)moveFile:(NSString*)path toPath:(NSString*)toPath shouldAuth:(BOOL)shouldAuth {
    return guarded(__func__, NO, [&] {
        return Files::moveFile(toString(path), toString(toPath), flag<ShouldAuth>(shouldAuth));
    });
}

+ (BOOL)moveFile:(NSString*)path toPath:(NSString*)toPath timeout:(NSInteger)timeout {
    return guarded(__func__, NO, [&] {
        return Files::moveFile(toString(path), toString(toPath), std::chrono::seconds(timeout));
    });
}

@end
