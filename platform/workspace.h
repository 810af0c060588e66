// The desktop: applications, packages and the Trash.
#pragma once

#include <string>

#include "base/types.h"

namespace quillmoor::platform {

// May be called from any thread.
class Workspace {
  public:
    virtual ~Workspace() = default;

    // `absolutePathForAppBundleWithIdentifier:`: nil when no such application is installed.
    virtual OptionalPath absolutePathForAppBundle(const std::string& identifier) = 0;

    // `openFile:`: starts an application on its own, or opens a document with its application. NO
    // when nothing is there, or nothing could be started.
    virtual bool openFile(const std::string& path) = 0;

    // `performFileOperation:` with the recycle operation: puts the items `names` of the folder
    // `source` into the user's Trash, from where the desktop can restore them. An item whose name
    // is taken there gets a new one. `destination` names the Trash folder; nil is the user's own.
    // YES when all were moved; an item is never in both places.
    virtual bool recycle(const std::string& source, const OptionalPath& destination,
                         const StringList& names) = 0;

    // `isFilePackageAtPath:`: a folder that the desktop shows as one file.
    virtual bool isFilePackage(const std::string& path) = 0;

    // Where the tool that macOS keeps at `path` is on this system; `path` itself when there is no
    // such tool.
    virtual std::string toolPath(const std::string& path) = 0;
};

}  // namespace quillmoor::platform
