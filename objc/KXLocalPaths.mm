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

UserDomain domain(BOOL userDomain) {
    return userDomain ? UserDomain::Yes : UserDomain::No;
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
    return pathFrom(Paths::applicationDirectory, domain(userDomain));
}

+ (NSString*)adminApplicationDirectory:(BOOL)userDomain {
    return pathFrom(Paths::adminApplicationDirectory, domain(userDomain));
}

+ (NSString*)documentDirectory:(BOOL)userDomain {
    return pathFrom(Paths::documentDirectory, domain(userDomain));
}

+ (NSString*)libraryDirectory:(BOOL)userDomain {
    return pathFrom(Paths::libraryDirectory, domain(userDomain));
}

+ (NSString*)prefsDirectory:(BOOL)userDomain {
    return pathFrom(Paths::prefsDirectory, domain(userDomain));
}

+ (NSString*)cacheDirectory:(BOOL)userDomain {
    return pathFrom(Paths::cacheDirectory, domain(userDomain));
}

+ (NSString*)appSupportDirectory:(BOOL)userDomain {
    return pathFrom(Paths::appSupportDirectory, domain(userDomain));
}

+ (NSString*)logDirectory:(BOOL)userDomain {
    return pathFrom(Paths::logDirectory, domain(userDomain));
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
    const auto exact = exactMatch ? quillmoor::ExactMatch::Yes : quillmoor::ExactMatch::No;
    return raising([&] { return Paths::isPathSystemDirectory(toString(path), exact); });
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
