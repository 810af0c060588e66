#include "quillmoor/platform/applications.h"

#import <AppKit/AppKit.h>

#include "quillmoor/platform/macos/desktop/registration_macos.h"
#include "quillmoor/platform/macos/ground/cocoa_calls_macos.h"
#include "quillmoor/platform/macos/ground/cocoa_text_macos.h"
#include "quillmoor/platform/macos/ground/obsolete_workspace_macos.h"
#include "quillmoor/platform/native_services.h"

namespace quillmoor::platform {
namespace macos {
namespace {

class MacApplications : public Applications {
  public:
    OptionalPath absolutePathForAppBundle(const std::string& identifier) override {
        return fromCocoa([&]() -> OptionalPath {
            NSString* const wanted = cocoaPath(identifier);
            if (wanted == nil) return std::nullopt;
            const id<KXObsoleteWorkspace> workspace =
                workspaceWith(@selector(absolutePathForAppBundleWithIdentifier:));
            return bytesOf([workspace absolutePathForAppBundleWithIdentifier:wanted]);
        });
    }

    bool openFile(const std::string& path) override {
        return fromCocoa([&]() -> bool {
            NSString* const item = cocoaPath(path);
            return item != nil && [workspaceWith(@selector(openFile:)) openFile:item];
        });
    }

    std::int32_t registerApplication(const std::string& path) override {
        return registerWithLaunchServices(path);
    }

    void noteFileSystemChanged(const std::string& path) override {
        callCocoa([&] {
            NSString* const item = cocoaPath(path);
            if (item != nil) [[NSWorkspace sharedWorkspace] noteFileSystemChanged:item];
        });
    }

    bool isFilePackage(const std::string& path) override {
        return fromCocoa([&]() -> bool {
            NSString* const item = cocoaPath(path);
            return item != nil && [[NSWorkspace sharedWorkspace] isFilePackageAtPath:item];
        });
    }
};

}  // namespace
}  // namespace macos

Applications* nativeApplications() {
    static auto* const applications = new macos::MacApplications;
    return applications;
}

}  // namespace quillmoor::platform
