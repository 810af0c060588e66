#include "quillmoor/platform/locations.h"

#import <Foundation/Foundation.h>

#include <unistd.h>

#include "quillmoor/platform/macos/ground/cocoa_text_macos.h"
#include "quillmoor/platform/macos/locations/console_user_macos.h"
#include "quillmoor/platform/native_services.h"

namespace quillmoor::platform {
namespace macos {
namespace {

class MacLocations : public Locations {
  public:
    StringList searchPaths(SearchPathDirectory directory, SearchPathDomainMask domain) override {
        @autoreleasepool {
            StringList paths;
            NSArray* const found = NSSearchPathForDirectoriesInDomains(
                static_cast<NSSearchPathDirectory>(directory),
                static_cast<NSSearchPathDomainMask>(domain), YES);
            for (NSString* path in found)
                if (OptionalPath bytes = bytesOf(path)) paths.push_back(*std::move(bytes));
            return paths;
        }
    }

    std::string homeDirectory() override {
        @autoreleasepool {
            return bytesOf(NSHomeDirectory()).value_or("/");
        }
    }

    OptionalPath homeDirectoryForUser(const OptionalString& name) override {
        @autoreleasepool {
            NSString* const user = name ? cocoaPath(*name) : nil;
            // A name that cannot be passed on must not become that of no user.
            if (name && user == nil) return std::nullopt;
            return bytesOf(NSHomeDirectoryForUser(user));
        }
    }

    std::string userName() override {
        @autoreleasepool {
            return bytesOf(NSUserName()).value_or("");
        }
    }

    OptionalString consoleUser() override { return macos::consoleUser(); }

    std::size_t confstr(int name, std::span<char> buffer) override {
        if (name != kDarwinUserCacheDirectory) return 0;
        return ::confstr(name, buffer.data(), buffer.size());
    }

    std::string temporaryDirectory() override {
        @autoreleasepool {
            return bytesOf(NSTemporaryDirectory()).value_or("/tmp/");
        }
    }
};

}  // namespace
}  // namespace macos

Locations* nativeLocations() {
    static auto* const locations = new macos::MacLocations;
    return locations;
}

}  // namespace quillmoor::platform
