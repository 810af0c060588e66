// System calls that fail when the test wants it.
#pragma once

namespace quillmoor::test {

enum class Failing {
    Once,       // that one call
    FromThenOn  // that call and every one after it
};

// As long as this lives, the `nth` call (counting from 1) that goes through the table of system
// calls fails with `error`. One at a time; any thread's calls count.
class FailingCalls {
  public:
    FailingCalls(int nth, int error, Failing failing = Failing::Once);
    ~FailingCalls();
    FailingCalls(const FailingCalls&) = delete;
    FailingCalls& operator=(const FailingCalls&) = delete;

    // The call has come and has failed.
    bool happened() const;
};

}  // namespace quillmoor::test
