#import "objc/KXFileManager.h"

#include <chrono>

#include "objc/bridge.h"
#include "quillmoor/files/KXFileManager.h"

using namespace quillmoor::objc;
using Files = quillmoor::KXFileManager;
using quillmoor::ShouldAuth;

@implementation KXFileManager (Trashing)

+ (BOOL)trashFile:(NSString*)path {
    return guarded(__func__, NO, [&] { return Files::trashFile(toString(path)); });
}

+ (BOOL)trashFile:(NSString*)path shouldAuth:(BOOL)shouldAuth {
    return guarded(__func__, NO,
                   [&] { return Files::trashFile(toString(path), flag<ShouldAuth>(shouldAuth)); });
}

+ (BOOL)trashFile:(NSString*)path timeout:(NSInteger)timeout {
    return guarded(__func__, NO,
                   [&] { return Files::trashFile(toString(path), std::chrono::seconds(timeout)); });
}

+ (BOOL)trashDirectoryContents:(NSString*)folder {
    return guarded(__func__, NO, [&] { return Files::trashDirectoryContents(toString(folder)); });
}

+ (BOOL)trashDirectoryContents:(NSString*)folder shouldAuth:(BOOL)shouldAuth {
    return guarded(__func__, NO, [&] {
        return Files::trashDirectoryContents(toString(folder), flag<ShouldAuth>(shouldAuth));
    });
}

+ (NSMutableArray*)trashFilesOfType:(NSString*)type inFolder:(NSString*)folder {
    return guarded(__func__, static_cast<NSMutableArray*>([NSMutableArray array]), [&] {
        return fromList(Files::trashFilesOfType(toString(type), toString(folder)));
    });
}

+ (NSMutableArray*)trashFilesNamed:(NSString*)name inFolder:(NSString*)folder {
    return guarded(__func__, static_cast<NSMutableArray*>([NSMutableArray array]), [&] {
        return fromList(Files::trashFilesNamed(toString(name), toString(folder)));
    });
}

@end
