#include "quillmoor/platform/linux/authorization/polkit/bus_connection_linux.h"

#include <poll.h>

#include <cerrno>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_::authorization {

std::optional<BusConnection> BusConnection::open(const SdBus& bus, const std::string& address) {
    sd_bus* made = nullptr;
    if (bus.create(&made) < 0) return std::nullopt;
    Connection connection(made, Release{&bus});
    // Not sd_bus_open_system, which connects to $DBUS_SYSTEM_BUS_ADDRESS where that is set: pkexec
    // clears its environment, and would be at another bus than this agent.
    if (bus.setAddress(made, address.c_str()) < 0 || bus.setBusClient(made, 1) < 0 ||
        bus.start(made) < 0)
        return std::nullopt;
    return BusConnection(bus, std::move(connection));
}

short BusConnection::events() const {
    const int events = bus_->getEvents(connection_.get());
    return static_cast<short>(events < 0 ? 0 : events);
}

BusMessage BusConnection::newCall(const char* destination, const char* path, const char* interface,
                                  const char* member) const {
    sd_bus_message* call = nullptr;
    bus_->newMethodCall(connection_.get(), &call, destination, path, interface, member);
    return {call, BusMessageRelease{bus_}};
}

// Not sd_bus_call, which waits for the reply, by default 25 s: meanwhile no request would be
// answered.
std::optional<std::uint64_t> BusConnection::send(const BusMessage& call) {
    std::uint64_t cookie = 0;
    if (call == nullptr || bus_->send(connection_.get(), call.get(), &cookie) < 0)
        return std::nullopt;
    return cookie;
}

BusMessage BusConnection::receive() {
    sd_bus_message* message = nullptr;
    int progress = 0;
    // Progress without a message is the library's own, such as the handshake.
    do progress = bus_->process(connection_.get(), &message);
    while (progress > 0 && message == nullptr);
    if (progress < 0) isOpen_ = false;
    return {message, BusMessageRelease{bus_}};
}

bool BusConnection::wait(Clock::time_point limit) const {
    pollfd polled{descriptor(), events(), 0};
    int count = 0;
    do {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now()).count();
        if (left <= 0) return false;
        count = posix::systemCalls().poll(&polled, 1, static_cast<int>(left));
    } while (count < 0 && errno == EINTR);
    return count > 0;
}

}  // namespace quillmoor::platform::linux_::authorization
