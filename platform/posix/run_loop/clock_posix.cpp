#include <cerrno>
#include <ctime>

#include "quillmoor/platform/native_services.h"

namespace quillmoor::platform {
namespace {

class PosixClock : public Clock {
  public:
    std::chrono::system_clock::time_point now() override {
        return std::chrono::system_clock::now();
    }

    void sleep(std::chrono::microseconds duration) override {
        if (duration <= std::chrono::microseconds::zero()) return;
        const auto whole = std::chrono::floor<std::chrono::seconds>(duration);
        timespec left{static_cast<std::time_t>(whole.count()),
                      static_cast<long>(std::chrono::nanoseconds(duration - whole).count())};
        // A signal of the host's does not shorten the sleep: `left` has what remains.
        while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
        }
    }

    std::tm localTime(std::chrono::system_clock::time_point date) override {
        const std::time_t seconds = std::chrono::system_clock::to_time_t(date);
        std::tm parts{};
        ::localtime_r(&seconds, &parts);
        return parts;
    }

    std::int64_t processorTime() override { return static_cast<std::int64_t>(std::clock()); }
};

}  // namespace

Clock* nativeClock() {
    static auto* const clock = new PosixClock;
    return clock;
}

}  // namespace quillmoor::platform
