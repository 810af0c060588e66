// Time.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace quillmoor::platform {

// May be called from any thread.
class Clock {
  public:
    virtual ~Clock() = default;

    virtual std::chrono::system_clock::time_point now() = 0;

    // `sleepForTimeInterval:`: zero and less return at once.
    virtual void sleep(std::chrono::seconds duration) = 0;

    // `clock`: processor time used, in the platform's ticks.
    virtual std::int64_t processorTime() = 0;
};

}  // namespace quillmoor::platform
