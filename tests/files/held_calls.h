// Copies and counts that the test holds.
#pragma once

#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::test {

// A copy that has opened a number of files with the given prefix, originals and copies, waits at
// the next one until it is released, for at most twenty seconds. One at a time.
class HeldCopy {
  public:
    explicit HeldCopy(std::string beginning, int opened = 0) {
        beginning_ = std::move(beginning);
        left_ = opened;
        letGo_ = false;
        table_ = platform::posix::systemCalls();
        openat_ = std::exchange(table_.openat, hold);
        before_ = platform::posix::exchangeSystemCalls(&table_);
    }
    ~HeldCopy() {
        letGo();
        platform::posix::exchangeSystemCalls(before_);
    }
    HeldCopy(const HeldCopy&) = delete;
    HeldCopy& operator=(const HeldCopy&) = delete;

    void letGo() { letGo_ = true; }

  private:
    using Calls = platform::posix::SystemCalls;

    static int hold(int folder, const char* name, int flags, mode_t mode) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        if (std::string_view(name).starts_with(beginning_) && --left_ < 0)
            while (!letGo_ && std::chrono::steady_clock::now() < end)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return openat_(folder, name, flags, mode);
    }

    static inline Calls table_;
    static inline std::string beginning_;
    static inline std::atomic<int> left_{0};
    static inline std::atomic<bool> letGo_{false};
    static inline decltype(Calls::openat) openat_ = nullptr;
    const Calls* before_ = nullptr;
};

// A count that reaches an item with the given prefix waits there until it is released, for at most
// twenty seconds; then each such item takes two milliseconds. One at a time.
class SlowCount {
  public:
    explicit SlowCount(std::string beginning) {
        beginning_ = std::move(beginning);
        items_ = 0;
        letGo_ = false;
        table_ = platform::posix::systemCalls();
        fstatat_ = std::exchange(table_.fstatat, slow);
        before_ = platform::posix::exchangeSystemCalls(&table_);
    }
    ~SlowCount() {
        letGo();
        platform::posix::exchangeSystemCalls(before_);
    }
    SlowCount(const SlowCount&) = delete;
    SlowCount& operator=(const SlowCount&) = delete;

    void letGo() { letGo_ = true; }
    // The number of such items that it has reached.
    int items() const { return items_; }

  private:
    using Calls = platform::posix::SystemCalls;

    static int slow(int folder, const char* name, struct stat* status, int flags) {
        if (std::string_view(name).starts_with(beginning_)) {
            ++items_;
            const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
            do std::this_thread::sleep_for(std::chrono::milliseconds(2));
            while (!letGo_ && std::chrono::steady_clock::now() < end);
        }
        return fstatat_(folder, name, status, flags);
    }

    static inline Calls table_;
    static inline std::string beginning_;
    static inline std::atomic<int> items_{0};
    static inline std::atomic<bool> letGo_{false};
    static inline decltype(Calls::fstatat) fstatat_ = nullptr;
    const Calls* before_ = nullptr;
};

}  // namespace quillmoor::test
