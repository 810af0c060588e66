// A connection to a message bus.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "quillmoor/platform/linux/authorization/polkit/sd_bus_linux.h"

namespace quillmoor::platform::linux_::authorization {

struct BusMessageRelease {
    const SdBus* bus = nullptr;
    void operator()(sd_bus_message* message) const { bus->unrefMessage(message); }
};
using BusMessage = std::unique_ptr<sd_bus_message, BusMessageRelease>;

// Only wait() waits. Messages are received in their order, and none is answered here. Used by one
// thread at a time.
class BusConnection {
  public:
    using Clock = std::chrono::steady_clock;

    // Begins to connect to the bus at `address`; nil when that fails at once.
    static std::optional<BusConnection> open(const SdBus& bus, const std::string& address);

    // False after the connection was lost or could not be made.
    bool isOpen() const { return isOpen_; }
    int descriptor() const { return bus_->getFd(connection_.get()); }
    // The events to wait for at the descriptor, as in poll(2).
    short events() const;

    // A call without arguments; null when it cannot be made.
    BusMessage newCall(const char* destination, const char* path, const char* interface,
                       const char* member) const;
    // Sends a call, later if the connection is not made yet. Returns the number that its reply
    // refers to, nil when it cannot be sent.
    std::optional<std::uint64_t> send(const BusMessage& call);
    // The next message, null when none has arrived. Also sends messages that are still queued.
    BusMessage receive();
    // Waits until there may be a message. False at the time `limit`.
    bool wait(Clock::time_point limit) const;

  private:
    struct Release {
        const SdBus* bus;
        void operator()(sd_bus* connection) const {
            bus->close(connection);
            bus->unref(connection);
        }
    };
    using Connection = std::unique_ptr<sd_bus, Release>;

    BusConnection(const SdBus& bus, Connection connection)
        : bus_(&bus), connection_(std::move(connection)) {}

    const SdBus* bus_;
    Connection connection_;
    bool isOpen_ = true;
};

}  // namespace quillmoor::platform::linux_::authorization
