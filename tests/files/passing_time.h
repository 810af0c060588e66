// Time that passes only while the code under test waits.
#pragma once

#include <chrono>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

#include "quillmoor/log/KXLog.h"
#include "quillmoor/platform/exception.h"
#include "tests/support/forwarding.h"

namespace quillmoor::test {

// Records each sleep, and lets that much time pass.
class PassingClock : public ForwardingClock {
  public:
    std::chrono::system_clock::time_point time{std::chrono::seconds(1'000'000)};
    std::vector<std::chrono::microseconds> slept;
    // Called each time that time has passed.
    std::function<void()> meanwhile = [] {};

    // The log's worker gets the real time.
    std::chrono::system_clock::time_point now() override {
        return std::this_thread::get_id() == thread_ ? time : std::chrono::system_clock::now();
    }
    void sleep(std::chrono::microseconds duration) override {
        slept.push_back(duration);
        pass(duration);
    }
    void pass(std::chrono::microseconds duration) {
        time += duration;
        meanwhile();
    }

  private:
    const std::thread::id thread_ = std::this_thread::get_id();
};

// A main thread without events: each wait for one takes its full time.
class PassingEvents : public ForwardingMainThread {
  public:
    explicit PassingEvents(PassingClock& clock) : clock_(clock) {}

    bool onMainThread = true;
    bool throws = false;
    std::vector<std::chrono::milliseconds> asked;

    bool isMainThread() override { return onMainThread; }
    bool sendNextEvent(std::chrono::milliseconds longest) override {
        asked.push_back(longest);
        clock_.pass(longest);
        if (throws) throw platform::Exception("Bad", "an event");
        return false;
    }

  private:
    PassingClock& clock_;
};

// Installs both while the object lives.
class PassingTime {
  public:
    explicit PassingTime(ScopedPlatform& platform)
        : platform_(platform), clockBefore_(platform->clock), eventsBefore_(platform->mainThread) {
        platform_->clock = &clock;
        platform_->mainThread = &events;
    }
    ~PassingTime() {
        KXLog::finishWriting();
        platform_->clock = clockBefore_;
        platform_->mainThread = eventsBefore_;
    }
    PassingTime(const PassingTime&) = delete;
    PassingTime& operator=(const PassingTime&) = delete;

    // Runs `action` during the event of that number, counting from the next.
    void duringEvent(std::size_t number, const std::function<void()>& action) {
        clock.meanwhile = [this, action, at = events.asked.size() + number] {
            if (events.asked.size() == at) action();
        };
    }
    // The number of waits for an event since the last call.
    std::size_t newEvents() {
        return events.asked.size() - std::exchange(seen_, events.asked.size());
    }
    // Whether there was neither a wait for an event nor a sleep.
    bool nothingWaited() const { return events.asked.empty() && clock.slept.empty(); }

    PassingClock clock;
    PassingEvents events{clock};

  private:
    ScopedPlatform& platform_;
    platform::Clock* clockBefore_;
    platform::MainThread* eventsBefore_;
    std::size_t seen_ = 0;
};

}  // namespace quillmoor::test
