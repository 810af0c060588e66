#import "objc/KXLocalPaths.h"

#include "objc/bridge.h"
#include "quillmoor/paths/KXLocalPaths.h"

using namespace quillmoor::objc;
using Paths = quillmoor::KXLocalPaths;
using quillmoor::UserDomain;

namespace {

// Nothing is caught and logged here: the log itself asks for folders.
template <typename Query, typename... Arguments>
NSString* pathFrom(const Query& query, const Arguments&... arguments) {
    return raising([&] { return fromString(query(arguments...)); });
}

}  // namespace

@implementation KXLocalPaths

+ (NSString*)pathForDirectory:(NSSearchPathDirectory)directory
                forUserDomain:(NSSearchPathDomainMask)mask {
    return pathFrom(Paths::pathForDirectory,
                    static_cast<quillmoor::platform::SearchPathDirectory>(directory),
                    static_cast<quillmoor::platform::SearchPathDomainMask>(mask));
}

+ (NSString*)applicationDirectory:(BOOL)userDomain {
    return pathFrom(Paths::applicationDirectory, flag<UserDomain>(userDomain));
}

+ (NSString*)adminApplicationDirectory:(BOOL)userDomain {
    return pathFrom(Paths::adminApplicationDirectory, flag<UserDomain>(userDomain));
}

+ (NSString*)documentDirectory:(BOOL)userDomain {
    return pathFrom(Paths::documentDirectory, flag<UserDomain>(userDomain));
}

+ (NSString*)libraryDirectory:(BOOL)userDomain {
    return pathFrom(Paths::libraryDirectory, flag<UserDomain>(userDomain));
}

+ (NSString*)prefsDirectory:(BOOL)userDomain {
    return pathFrom(Paths::prefsDirectory, flag<UserDomain>(userDomain));
}

+ (NSString*)cacheDirectory:(BOOL)userDomain {
    return pathFrom(Paths::cacheDirectory, flag<UserDomain>(userDomain));
}

+ (NSString*)appSupportDirectory:(BOOL)userDomain {
    return pathFrom(Paths::appSupportDirectory, flag<UserDomain>(userDomain));
}

+ (NSString*)logDirectory:(BOOL)userDomain {
    return pathFrom(Paths::logDirectory, flag<UserDomain>(userDomain));
}

+ (NSString*)movieDirectory {
    return pathFrom(Paths::movieDirectory);
}

+ (NSString*)desktopDirectory {
    return pathFrom(Paths::desktopDirectory);
}

+ (NSString*)systemLibraryDirectory {
    return pathFrom(Paths::systemLibraryDirectory);
}

+ (NSString*)localDocumentationDirectory {
    return pathFrom(Paths::localDocumentationDirectory);
}

+ (NSString*)trashDirectory {
    return pathFrom(Paths::trashDirectory);
}

+ (NSString*)darwinCacheDirectory {
    return pathFrom(Paths::darwinCacheDirectory);
}

+ (NSString*)userDirectory {
    return pathFrom(Paths::userDirectory);
}

+ (NSString*)username {
    return pathFrom(Paths::username);
}

+ (NSString*)currentConsoleUser {
    return pathFrom(Paths::currentConsoleUser);
}

+ (BOOL)isPathOnTimeMachineVolume:(NSString*)path {
    return raising([&] { return Paths::isPathOnTimeMachineVolume(toString(path)); });
}

+ (BOOL)isPathSystemDirectory:(NSString*)path exactMatch:(BOOL)exactMatch {
    return raising([&] {
        return Paths::isPathSystemDirectory(toString(path),
                                            flag<quillmoor::ExactMatch>(exactMatch));
    });
}

+ (BOOL)isPathSystemDirectory:(NSString*)path {
    return raising([&] { return Paths::isPathSystemDirectory(toString(path)); });
}

+ (NSString*)tempDirectory {
    return raising([] { return fromString(std::string_view(Paths::tempDirectory())); });
}

+ (NSString*)uuid {
    return raising([] { return fromString(std::string_view(Paths::uuid())); });
}

+ (NSMutableString*)randomString:(unsigned int)length {
    NSString* text =
        raising([&] { return fromString(std::string_view(Paths::randomString(length))); });
    return [NSMutableString stringWithString:text];
}

+ (NSString*)tempFile {
    return raising([] { return fromString(std::string_view(Paths::tempFile())); });
}

@end
