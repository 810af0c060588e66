// A descriptor that wakes whoever polls it.
#pragma once

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

// Readable from signal() to clear(), however often either is called. Any thread may call both.
class WakeDescriptor {
  public:
    // Throws platform::Exception when the process has no descriptors left.
    WakeDescriptor();

    int get() const { return waiting_.get(); }
    void signal();
    void clear();

  private:
    Descriptor waiting_;
    Descriptor signalling_;  // where one descriptor cannot do both
};

}  // namespace quillmoor::platform::posix
