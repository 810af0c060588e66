// Tallyframe on this computer, and its uninstaller: what the pane and the command version-check
// decide by.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor {

// Of the application.
inline constexpr char kProductIdentifier[] = "com.quillmoor.tallyframe";

// Returns where the application is, by its identifier and wherever it was put; its program where it
// has no bundle. nil when it is not installed. Blocks until the search has ended. May be called
// from any thread.
OptionalPath installedProduct();

// Unpacks the archive with the uninstaller into `folder`, which the archiving tool makes, and
// returns where the uninstaller is then; nothing is there after a failure. Blocks until the tool
// has ended.
std::string unpackUninstaller(const OptionalPath& archive, const std::string& folder);

// The archive's name and type, as a bundle's resource.
inline constexpr char kUninstallerName[] = "Tallyframe Uninstaller";
inline constexpr char kUninstallerType[] = "zip";

}  // namespace quillmoor
