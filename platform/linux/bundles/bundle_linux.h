// Bundle folders on this system: X.app/Contents with Info.plist, Resources, and the program or
// plug-in in Linux or MacOS.
#pragma once

#include <memory>
#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/bundle.h"

namespace quillmoor::platform::linux_ {

// X.bundle for X.bundle/Contents/Linux/name and X.bundle/Contents/MacOS/name, with any extension;
// nil for every other path.
OptionalPath bundleFolderOf(const std::string& executable);

// The bundle that `executable` belongs to, or one that has an executable path only.
std::shared_ptr<Bundle> bundleOf(const OptionalPath& executable);

// The languages that the environment requests, best first, by the names of their resource folders:
// from LANGUAGE and LC_ALL, LC_MESSAGES or LANG in gettext's order, then English, then Base.
StringList languagesOfResources();

}  // namespace quillmoor::platform::linux_
