#import "objc/KXFileManager.h"

#include "objc/bridge.h"
#include "objc/file_references.h"
#include "quillmoor/files/KXFileManager.h"

using namespace quillmoor::objc;
using Files = quillmoor::KXFileManager;

@implementation KXFileManager (Querying)

+ (BOOL)fileExistsAtPath:(NSString*)path {
    return guarded(__func__, NO, [&] { return Files::fileExistsAtPath(toString(path)); });
}

+ (BOOL)isDirectoryAtPath:(NSString*)path {
    return guarded(__func__, NO, [&] { return Files::isDirectoryAtPath(toString(path)); });
}

+ (BOOL)isPackageAtPath:(NSString*)path {
    return guarded(__func__, NO, [&] { return Files::isPackageAtPath(toString(path)); });
}

+ (BOOL)isSymbolicLinkAtPath:(NSString*)path {
    return guarded(__func__, NO, [&] { return Files::isSymbolicLinkAtPath(toString(path)); });
}

+ (BOOL)isVolumeMountedForPath:(NSString*)path {
    return guarded(__func__, NO, [&] { return Files::isVolumeMountedForPath(toString(path)); });
}

+ (BOOL)isDriveMountedForPath:(NSString*)path {
    return guarded(__func__, NO, [&] { return Files::isDriveMountedForPath(toString(path)); });
}

+ (BOOL)isFolderEmpty:(NSString*)path {
    return guarded(__func__, NO, [&] { return Files::isFolderEmpty(toString(path)); });
}

+ (unsigned long long)fileSize:(NSString*)path {
    return guarded(__func__, 0ULL, [&] { return Files::fileSize(toString(path)); });
}

+ (NSString*)formatFileSize:(double)bytes {
    return guarded(__func__, static_cast<NSString*>(nil),
                   [&] { return fromString(std::string_view(Files::formatFileSize(bytes))); });
}

+ (FSRef)stringToFSRef:(NSString*)path {
    return guarded(__func__, FSRef{},
                   [&] { return fromReference(Files::stringToFSRef(toString(path))); });
}

+ (NSString*)stringWithFSRef:(const FSRef*)reference {
    return guarded(__func__, static_cast<NSString*>(nil), [&] {
        if (reference == nullptr) return fromString(Files::stringWithFSRef(nullptr));
        const auto translated = toReference(*reference);
        return fromString(Files::stringWithFSRef(&translated));
    });
}

+ (BOOL)registerApplicationWithLaunchServices:(NSString*)path {
    return guarded(__func__, NO,
                   [&] { return Files::registerApplicationWithLaunchServices(toString(path)); });
}

+ (void)notifyFileSystemChanged:(NSString*)path {
    perform(__func__, [&] { Files::notifyFileSystemChanged(toString(path)); });
}

@end

OSStatus SendFinderSyncEvent(const FSRef* reference) {
    constexpr OSStatus kParameterError = -50;
    return guarded(__func__, kParameterError, [&] {
        if (reference == nullptr) return quillmoor::SendFinderSyncEvent(nullptr);
        const auto translated = toReference(*reference);
        return quillmoor::SendFinderSyncEvent(&translated);
    });
}
