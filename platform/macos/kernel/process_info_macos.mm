#include "quillmoor/platform/process_info.h"

#import <Foundation/Foundation.h>

#include <unistd.h>

#include "quillmoor/platform/macos/ground/cocoa_text_macos.h"
#include "quillmoor/platform/native_services.h"

namespace quillmoor::platform {
namespace macos {
namespace {

class MacProcessInfo : public ProcessInfo {
  public:
    unsigned realUserId() override { return ::getuid(); }

    std::string globallyUniqueString() override {
        @autoreleasepool {
            return bytesOf([[NSProcessInfo processInfo] globallyUniqueString]).value_or("");
        }
    }

    std::string operatingSystemVersionString() override {
        @autoreleasepool {
            return bytesOf([[NSProcessInfo processInfo] operatingSystemVersionString]).value_or("");
        }
    }

    long processorCount() override {
        @autoreleasepool {
            return static_cast<long>([[NSProcessInfo processInfo] processorCount]);
        }
    }

    std::uint64_t physicalMemory() override {
        @autoreleasepool {
            return [[NSProcessInfo processInfo] physicalMemory];
        }
    }
};

}  // namespace
}  // namespace macos

ProcessInfo* nativeProcessInfo() {
    static auto* const processInfo = new macos::MacProcessInfo;
    return processInfo;
}

}  // namespace quillmoor::platform
