#import "objc/KXFileManager.h"

#include <chrono>

#include "objc/bridge.h"
#include "quillmoor/files/KXFileManager.h"

using namespace quillmoor::objc;
using Files = quillmoor::KXFileManager;

@implementation KXFileManager (Waiting)

+ (void)waitForFileCreation:(NSString*)path timeout:(NSInteger)timeout {
    perform(__func__,
            [&] { Files::waitForFileCreation(toString(path), std::chrono::seconds(timeout)); });
}

+ (void)waitForFileWrites:(NSString*)path {
    perform(__func__, [&] { Files::waitForFileWrites(toString(path)); });
}

+ (void)waitForFileWrites:(NSString*)path lockFile:(NSString*)lockFile {
    perform(__func__, [&] { Files::waitForFileWrites(toString(path), toString(lockFile)); });
}

@end
