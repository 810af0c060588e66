// A password as the library takes it.
#pragma once

#import <Foundation/Foundation.h>

#include "quillmoor/base/types.h"

namespace quillmoor::objc {

// Text whose bytes do not stay in memory: they are in one buffer, which is never moved and is
// overwritten before it is released. nil for nil. The caller's object is unchanged.
class Secret {
  public:
    // Throws std::bad_alloc.
    explicit Secret(NSString* text);
    ~Secret();
    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;

    const OptionalString& text() const { return text_; }

  private:
    OptionalString text_;
};

}  // namespace quillmoor::objc
