// Bundles: folders that hold a program, its information dictionary and its resources.
#pragma once

#include <memory>
#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform {

// May be read from any thread.
class Bundle {
  public:
    virtual ~Bundle() = default;

    // nil when the bundle has no program.
    virtual OptionalPath executablePath() = 0;

    // `objectForInfoDictionaryKey:` of a string or a number, as text; nil when the key is missing.
    virtual OptionalString infoDictionaryText(const std::string& key) = 0;

    // `pathForResource:ofType:`: the resource that is in no language's folder, else that of the
    // first of the user's languages that has it; nil when there is none.
    virtual OptionalPath pathForResource(const std::string& name, const std::string& type) = 0;
};

// May be called from any thread.
class Bundles {
  public:
    virtual ~Bundles() = default;

    // The bundle of the running program. A program that is not in a bundle gets one that has an
    // executable path only.
    virtual std::shared_ptr<Bundle> mainBundle() = 0;

    // `bundleForClass:`: the bundle whose code holds `address`, the main bundle for the program's
    // own code; null when the code belongs to no file.
    virtual std::shared_ptr<Bundle> bundleForCode(const void* address) = 0;
};

}  // namespace quillmoor::platform
