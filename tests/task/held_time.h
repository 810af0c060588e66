// Time-outs that pass when the test lets them, and the main thread that acts on them.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "quillmoor/log/KXLog.h"
#include "quillmoor/platform/main_run_loop.h"
#include "tests/support/forwarding.h"

namespace quillmoor::test {

// Sleeps until the test lets it wake, whatever the number of seconds.
class HeldClock : public ForwardingClock {
  public:
    void sleep(std::chrono::microseconds duration) override {
        std::unique_lock lock(mutex_);
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration).count();
        asked_.push_back(seconds);
        changed_.notify_all();
        changed_.wait(lock, [&] { return takeRelease(seconds); });
    }

    // Lets one sleeper wake, now or when it begins to sleep.
    void release() { let(std::nullopt); }
    // Lets one of the sleepers of that number of seconds wake.
    void releaseOneOf(std::chrono::seconds asked) { let(asked.count()); }

    // Waits for `count` sleepers and returns their seconds.
    std::vector<std::int64_t> asked(std::size_t count) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, std::chrono::seconds(10), [&] { return asked_.size() >= count; });
        return asked_;
    }

  private:
    // The seconds of the sleeper that may wake; nullopt for any.
    using Release = std::optional<std::int64_t>;

    void let(Release release) {
        const std::lock_guard lock(mutex_);
        releases_.push_back(release);
        changed_.notify_all();
    }
    bool takeRelease(std::int64_t seconds) {
        const auto mine = std::find_if(
            releases_.begin(), releases_.end(),
            [&](const Release& release) { return release.value_or(seconds) == seconds; });
        if (mine == releases_.end()) return false;
        releases_.erase(mine);
        return true;
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::int64_t> asked_;
    std::vector<Release> releases_;
};

inline void serveMainThreadUntil(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition() && std::chrono::steady_clock::now() < end)
        platform::MainRunLoop::run(platform::RunLoopMode::Default,
                                   std::chrono::steady_clock::now() + std::chrono::milliseconds(1));
}

// Counts the threads that it has started and that still run, and holds the calls for the main
// thread.
class CountingMainThread : public ForwardingMainThread {
  public:
    void performOnMainThread(std::function<void()> function,
                             platform::WaitUntilDone wait) override {
        ++posted_;
        next().performOnMainThread(std::move(function), wait);
    }
    int posted() const { return posted_; }

    void detachNewThread(std::function<void()> body) override {
        ++*running_;
        next().detachNewThread([running = running_, body = std::move(body)] {
            body();
            --*running;
        });
    }
    int running() const { return *running_; }

  private:
    std::shared_ptr<std::atomic<int>> running_ = std::make_shared<std::atomic<int>>(0);
    std::atomic<int> posted_{0};
};

// Installs a held clock. The destructor lets every time-out pass, and waits until the log no longer
// uses the clock.
class HeldTime {
  public:
    explicit HeldTime(ScopedPlatform& platform) : platform_(platform) {
        platform_->clock = &clock_;
        platform_->mainThread = &mainThread_;
    }
    ~HeldTime() {
        for (int count = mainThread_.running(); count > 0; --count) clock_.release();
        serveUntilOver();
        KXLog::finishWriting();
        platform_->clock = platform::native().clock;
        platform_->mainThread = platform::native().mainThread;
    }
    HeldTime(const HeldTime&) = delete;
    HeldTime& operator=(const HeldTime&) = delete;

    HeldClock* operator->() { return &clock_; }
    // Whether the thread of every time-out has ended.
    bool over() const { return mainThread_.running() == 0; }
    // Whether a time-out waits for the main thread.
    bool passed() const { return mainThread_.posted() > 0; }
    // Serves the main thread until every time-out is over.
    void serveUntilOver() {
        serveMainThreadUntil([this] { return over(); });
    }

  private:
    ScopedPlatform& platform_;
    HeldClock clock_;
    CountingMainThread mainThread_;
};

}  // namespace quillmoor::test
