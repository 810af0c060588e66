#import "objc/KXFileManager.h"

#include <chrono>

#include "objc/bridge.h"
#include "quillmoor/files/KXFileManager.h"

using namespace quillmoor::objc;
using Files = quillmoor::KXFileManager;
using quillmoor::SetCreationDate;

namespace {

// The nearest time that the library can hold: the distant past and future are further away.
std::chrono::system_clock::time_point timeOf(NSDate* date) {
    using Time = std::chrono::system_clock::time_point;
    const std::chrono::duration<double> time([date timeIntervalSince1970]);
    if (time <= Time::min().time_since_epoch()) return Time::min();
    if (time >= Time::max().time_since_epoch()) return Time::max();
    return Time(std::chrono::duration_cast<Time::duration>(time));
}

}  // namespace

@implementation KXFileManager (Attributes)

+ (BOOL)isFileLocked:(NSString*)path {
    return guarded(__func__, NO, [&] { return Files::isFileLocked(toString(path)); });
}

+ (void)lockFile:(NSString*)path {
    perform(__func__, [&] { Files::lockFile(toString(path)); });
}

+ (void)unlockFile:(NSString*)path {
    perform(__func__, [&] { Files::unlockFile(toString(path)); });
}

+ (void)lockFolder:(NSString*)path {
    perform(__func__, [&] { Files::lockFolder(toString(path)); });
}

+ (void)unlockFolder:(NSString*)path {
    perform(__func__, [&] { Files::unlockFolder(toString(path)); });
}

+ (void)setPosixPermissions:(unsigned int)permissions forFile:(NSString*)path {
    perform(__func__, [&] { Files::setPosixPermissions(permissions, toString(path)); });
}

+ (BOOL)touchFile:(NSString*)path {
    return raising([&] { return Files::touchFile(toString(path)); });
}

+ (BOOL)touchFile:(NSString*)path setCreationDate:(BOOL)setCreationDate {
    return raising(
        [&] { return Files::touchFile(toString(path), flag<SetCreationDate>(setCreationDate)); });
}

+ (BOOL)setModificationDate:(NSDate*)date forFile:(NSString*)path {
    if (date == nil) return NO;
    return guarded(__func__, NO,
                   [&] { return Files::setModificationDate(timeOf(date), toString(path)); });
}

@end
