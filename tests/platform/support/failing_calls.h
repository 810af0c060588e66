// System calls, and allocations, that fail when the test wants it.
#pragma once

#include <cerrno>
#include <optional>
#include <string>

namespace quillmoor::test {

enum class Failing {
    Once,       // that one call
    FromThenOn  // that call and every one after it
};

// During its lifetime, the `nth` call (counting from 1) through the tables of system calls fails
// with `error`. One at a time; any thread's calls count.
class FailingCalls {
  public:
    FailingCalls(int nth, int error, Failing failing = Failing::Once);
    ~FailingCalls();
    FailingCalls(const FailingCalls&) = delete;
    FailingCalls& operator=(const FailingCalls&) = delete;

    // The call has come and has failed.
    bool happened() const;
};

// As long as this lives, the `nth` allocation (counting from 1) throws std::bad_alloc. What the
// test's own layers of the table of system calls allocate does not count. One at a time; any
// thread's allocations count.
class FailingAllocations {
  public:
    explicit FailingAllocations(int nth, Failing failing = Failing::Once);
    ~FailingAllocations();
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;

    // The allocation has come and has failed.
    bool happened() const;

  private:
    const FailingCalls none_{0, 0};
};

// What a test makes fail: calls, with EIO, or allocations.
struct FailureKind {
    enum class Of { Calls, Allocations } of;
    Failing failing;

    bool isOfAllocations() const { return of == Of::Allocations; }
    // What fails for good cannot be tidied up after.
    bool isLasting() const { return failing == Failing::FromThenOn; }
    // As part of a test's name.
    std::string name() const {
        return std::string(isOfAllocations() ? "Allocations" : "Calls") +
               (isLasting() ? "FromThenOn" : "Once");
    }
};

// One of them, the `nth`.
class OneFailure {
  public:
    OneFailure(const FailureKind& kind, int nth) {
        if (kind.isOfAllocations())
            allocations_.emplace(nth, kind.failing);
        else
            calls_.emplace(nth, EIO, kind.failing);
    }
    bool happened() const { return calls_ ? calls_->happened() : allocations_->happened(); }

  private:
    std::optional<FailingCalls> calls_;
    std::optional<FailingAllocations> allocations_;
};

}  // namespace quillmoor::test
