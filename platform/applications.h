// The desktop's applications and packages.
#pragma once

#include <cstdint>
#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform {

// May be called from any thread.
class Applications {
  public:
    virtual ~Applications() = default;

    // `absolutePathForAppBundleWithIdentifier:`: the application's bundle, or its program where it
    // has no bundle; nil when no such application is installed.
    virtual OptionalPath absolutePathForAppBundle(const std::string& identifier) = 0;

    // `openFile:`: starts an application, or opens a document with its application, and does not
    // wait for it. Returns false when the item does not exist, or nothing could be started; a
    // failure of what was started is not reported.
    virtual bool openFile(const std::string& path) = 0;

    // `LSRegisterURL` with the update flag: makes the application at `path` known to the user's
    // desktop, so that absolutePathForAppBundle finds it wherever it is. An earlier registration
    // with the same identifier is replaced. Returns 0, or the system's error number, for example
    // for a missing path or an item that is not an application; then nothing has changed.
    virtual std::int32_t registerApplication(const std::string& path) = 0;

    // `noteFileSystemChanged:`: asks the desktop to read the item again, where it does not do so
    // automatically. Failures are not reported.
    virtual void noteFileSystemChanged(const std::string& path) = 0;

    // `isFilePackageAtPath:`: a folder that the desktop shows as one file.
    virtual bool isFilePackage(const std::string& path) = 0;
};

}  // namespace quillmoor::platform
