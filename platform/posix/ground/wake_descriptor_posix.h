// A descriptor that wakes a thread which polls it.
#pragma once

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

// Readable from signal() until clear(), however often either is called. Both may be called from any
// thread and never wait.
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
