// Allocations that fail when the test wants it. A program that links this has it for all of its
// own.
#pragma once

namespace quillmoor::test {

// Asked about each allocation, on any thread, whether it is to fail. Must not allocate itself.
using AllocationFails = bool (*)();

// Null: none fails.
void setAllocationFails(AllocationFails fails);

// The caller's own allocations are none of the operation's: while it lives, none of this thread's
// is asked about.
class NotCounted {
  public:
    NotCounted();
    ~NotCounted();
    NotCounted(const NotCounted&) = delete;
    NotCounted& operator=(const NotCounted&) = delete;

  private:
    bool before_;
};

}  // namespace quillmoor::test
