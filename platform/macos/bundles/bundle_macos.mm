#include "quillmoor/platform/bundle.h"

#import <Foundation/Foundation.h>

#include <dlfcn.h>
#include <stdlib.h>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/macos/ground/cocoa_calls_macos.h"
#include "quillmoor/platform/macos/ground/cocoa_text_macos.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform {
namespace macos {
namespace {

class CocoaBundle final : public Bundle {
  public:
    explicit CocoaBundle(NSBundle* bundle) : bundle_([bundle retain]) {}
    ~CocoaBundle() override { [bundle_ release]; }
    CocoaBundle(const CocoaBundle&) = delete;
    CocoaBundle& operator=(const CocoaBundle&) = delete;

    OptionalPath executablePath() override {
        return fromCocoa([&]() -> OptionalPath { return bytesOf([bundle_ executablePath]); });
    }

    OptionalString infoDictionaryText(const std::string& key) override {
        return fromCocoa([&]() -> OptionalString {
            NSString* const wanted = cocoaText(key);
            if (wanted == nil) return std::nullopt;
            const id value = [bundle_ objectForInfoDictionaryKey:wanted];
            if ([value isKindOfClass:[NSString class]]) return bytesOf(value);
            if ([value isKindOfClass:[NSNumber class]]) return bytesOf([value stringValue]);
            return std::nullopt;
        });
    }

    OptionalPath pathForResource(const std::string& name, const std::string& type) override {
        return fromCocoa([&]() -> OptionalPath {
            NSString* const wanted = cocoaPath(name);
            NSString* const extension = cocoaText(type);
            if (wanted == nil || extension == nil) return std::nullopt;
            return bytesOf([bundle_ pathForResource:wanted ofType:extension]);
        });
    }

  private:
    NSBundle* bundle_;
};

// Links followed; nil when there is no such item.
OptionalPath realPath(const OptionalPath& path) {
    if (!path) return std::nullopt;
    char* const real = posix::systemCalls().realpath(path->c_str(), nullptr);
    if (real == nullptr) return std::nullopt;
    std::string copy(real);
    ::free(real);
    return copy;
}

bool isProgramOf(NSBundle* bundle, const std::string& file) {
    return realPath(bytesOf([bundle executablePath])) == file;
}

// The folder of a bundle around a program that is in its place there: …/Contents/MacOS/program.
OptionalPath folderAround(const std::string& program) {
    const std::string folder = deleteLastPathComponent(program);
    const std::string contents = deleteLastPathComponent(folder);
    if (lastPathComponent(folder) != "MacOS" || lastPathComponent(contents) != "Contents")
        return std::nullopt;
    return deleteLastPathComponent(contents);
}

class CocoaBundles : public Bundles {
  public:
    std::shared_ptr<Bundle> mainBundle() override {
        return fromCocoa([&]() -> std::shared_ptr<Bundle> {
            return std::make_shared<CocoaBundle>([NSBundle mainBundle]);
        });
    }

    std::shared_ptr<Bundle> bundleForCode(const void* address) override {
        Dl_info info{};
        if (::dladdr(address, &info) == 0 || info.dli_fname == nullptr) return nullptr;
        return fromCocoa([&]() -> std::shared_ptr<Bundle> {
            // The main program's own name need not be a path.
            const OptionalPath file = realPath(info.dli_fname);
            if (!file || isProgramOf([NSBundle mainBundle], *file)) return mainBundle();
            for (NSBundle* bundle in [NSBundle allBundles])
                if (isProgramOf(bundle, *file)) return std::make_shared<CocoaBundle>(bundle);
            for (NSBundle* bundle in [NSBundle allFrameworks])
                if (isProgramOf(bundle, *file)) return std::make_shared<CocoaBundle>(bundle);
            const OptionalPath folder = folderAround(*file);
            NSBundle* const around = folder ? [NSBundle bundleWithPath:cocoaPath(*folder)] : nil;
            return around != nil ? std::make_shared<CocoaBundle>(around) : mainBundle();
        });
    }
};

}  // namespace
}  // namespace macos

Bundles* nativeBundles() {
    static auto* const bundles = new macos::CocoaBundles;
    return bundles;
}

}  // namespace quillmoor::platform
