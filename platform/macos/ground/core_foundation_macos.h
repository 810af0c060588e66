// The C objects of the system.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::macos {

// An object that a call has made or copied, released at the end.
template <typename Ref>
class CFOwned {
  public:
    explicit CFOwned(Ref object) : object_(object) {}
    CFOwned(CFOwned&& other) noexcept : object_(other.object_) { other.object_ = nullptr; }
    ~CFOwned() {
        if (object_ != nullptr) ::CFRelease(object_);
    }
    CFOwned(const CFOwned&) = delete;
    CFOwned& operator=(const CFOwned&) = delete;
    CFOwned& operator=(CFOwned&&) = delete;

    Ref get() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

  private:
    Ref object_;
};

// nil for null, and for a text that has no UTF-8 form.
OptionalString textOf(CFStringRef text);

// Null for bytes that are not UTF-8.
CFOwned<CFStringRef> stringOf(const std::string& text);

// Null for an empty path and for one with a NUL.
CFOwned<CFURLRef> urlOfPath(const std::string& path);

// nil for null, and for a URL that is not of a file.
OptionalPath pathOfUrl(CFURLRef url);

}  // namespace quillmoor::platform::macos
