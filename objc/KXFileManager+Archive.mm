#import "objc/KXFileManager.h"

#include "objc/bridge.h"
#include "quillmoor/files/KXFileManager.h"

using namespace quillmoor::objc;
using Files = quillmoor::KXFileManager;
using quillmoor::IncludeParent;

@implementation KXFileManager (Archives)

+ (BOOL)compressFile:(NSString*)path toDestinationFile:(NSString*)destination {
    return guarded(__func__, NO,
                   [&] { return Files::compressFile(toString(path), toString(destination)); });
}

+ (BOOL)compressFile:(NSString*)path
    toDestinationFile:(NSString*)destination
        includeParent:(BOOL)includeParent {
    return guarded(__func__, NO, [&] {
        return Files::compressFile(toString(path), toString(destination),
                                   flag<IncludeParent>(includeParent));
    });
}

+ (BOOL)decompressFile:(NSString*)path toDestinationFolder:(NSString*)destination {
    return guarded(__func__, NO,
                   [&] { return Files::decompressFile(toString(path), toString(destination)); });
}

@end
