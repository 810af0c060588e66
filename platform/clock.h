// Time.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>

namespace quillmoor::platform {

// May be called from any thread.
class Clock {
  public:
    virtual ~Clock() = default;

    virtual std::chrono::system_clock::time_point now() = 0;

    // `sleepForTimeInterval:`, `usleep`: a signal does not end it early. Zero and negative
    // durations return at once.
    virtual void sleep(std::chrono::microseconds duration) = 0;

    // The date by the computer's own calendar and time zone.
    virtual std::tm localTime(std::chrono::system_clock::time_point date) = 0;

    // `clock`: processor time used, in the platform's ticks.
    virtual std::int64_t processorTime() = 0;
};

}  // namespace quillmoor::platform
