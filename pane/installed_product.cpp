#include "quillmoor/pane/installed_product.h"

#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor {
namespace {

constexpr char kUninstallerApplication[] = "Tallyframe Uninstaller.app";

}  // namespace

OptionalPath installedProduct() {
    return platform::current().applications->absolutePathForAppBundle(kProductIdentifier);
}

std::string unpackUninstaller(const OptionalPath& archive, const std::string& folder) {
    KXFileManager::decompressFile(archive, folder);
    return *appendPathComponent(folder, kUninstallerApplication);
}

}  // namespace quillmoor
