#include <cerrno>
#include <ctime>

#include "platform/native_services.h"

namespace quillmoor::platform {
namespace {

class PosixClock : public Clock {
  public:
    std::chrono::system_clock::time_point now() override {
        return std::chrono::system_clock::now();
    }

    void sleep(std::chrono::seconds duration) override {
        if (duration <= std::chrono::seconds::zero()) return;
        timespec left{static_cast<std::time_t>(duration.count()), 0};
        while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
        }
    }

    std::int64_t processorTime() override { return static_cast<std::int64_t>(std::clock()); }
};

}  // namespace

Clock* nativeClock() {
    static auto* const clock = new PosixClock;
    return clock;
}

}  // namespace quillmoor::platform
