// Allocations that fail on request. Linked into a program, this replaces all of its allocations.
#pragma once

namespace quillmoor::test {

// Called for each allocation, on any thread. Returns whether it must fail. Must not allocate.
using AllocationFails = bool (*)();

// Null: none fails.
void setAllocationFails(AllocationFails fails);

// As long as it lives, allocations of this thread do not fail and are not counted: they are the
// test's own.
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
