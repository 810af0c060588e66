// Stops an operation at a certain moment.
#pragma once

#include <atomic>
#include <cstddef>
#include <thread>

#include "quillmoor/base/stop_token.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::test {

using platform::posix::exchangeSystemCalls;
using platform::posix::SystemCalls;
using platform::posix::systemCalls;

// Stops an operation at its `nth` system call of one kind.
class StopAtCall {
  public:
    enum class Kind { Write, OpenAt, UnlinkAt };

    StopAtCall(Kind kind, int nth) : calls_(systemCalls()) {
        left = nth;
        next = &systemCalls();
        source = &source_;
        if (kind == Kind::Write)
            calls_.write = [](int file, const void* bytes, std::size_t size) {
                countDown();
                return next->write(file, bytes, size);
            };
        if (kind == Kind::OpenAt)
            calls_.openat = [](int folder, const char* name, int flags, mode_t mode) {
                countDown();
                return next->openat(folder, name, flags, mode);
            };
        if (kind == Kind::UnlinkAt)
            calls_.unlinkat = [](int folder, const char* name, int flags) {
                countDown();
                return next->unlinkat(folder, name, flags);
            };
        exchangeSystemCalls(&calls_);
    }
    ~StopAtCall() { exchangeSystemCalls(next); }
    StopAtCall(const StopAtCall&) = delete;
    StopAtCall& operator=(const StopAtCall&) = delete;

    StopToken token() const { return source_.token(); }

  private:
    static void countDown() {
        if (--left == 0) source->requestStop();
    }

    static inline std::atomic<int> left{0};
    static inline const SystemCalls* next = nullptr;
    static inline StopSource* source = nullptr;
    SystemCalls calls_;
    StopSource source_;
};

}  // namespace quillmoor::test
