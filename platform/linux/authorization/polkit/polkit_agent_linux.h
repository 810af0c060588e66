// An authentication agent of polkit for this process, with a given password.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillmoor/platform/linux/authorization/channel/launch_wait_linux.h"
#include "quillmoor/platform/linux/authorization/polkit/bus_connection_linux.h"
#include "quillmoor/platform/linux/authorization/polkit/polkit_conversation_linux.h"

namespace quillmoor::platform::linux_::authorization {

inline constexpr char kSystemBusAddress[] = "unix:path=/run/dbus/system_bus_socket";

// Registered with polkit for this process only, with precedence over other agents, during its
// lifetime. It serves one request, the launcher's own, and refuses every other. A process has one
// at a time.
class PolkitAgent : public Conversation {
  public:
    enum class State {
        Registered,
        NoAuthority,  // there is no bus or no polkit
        Failed        // polkit refused it, or did not reply
    };
    // Begins to authenticate for the request `cookie`; null when that fails.
    using Authentication =
        std::function<std::unique_ptr<PolkitConversation>(const std::string& cookie)>;

    // Waits until it is registered, for at most 10 seconds. `user` is the user who authenticates.
    PolkitAgent(const SdBus& bus, const std::string& address, uid_t user,
                Authentication authentication);
    ~PolkitAgent() override;
    PolkitAgent(const PolkitAgent&) = delete;
    PolkitAgent& operator=(const PolkitAgent&) = delete;

    State state() const { return state_; }

    void await(std::vector<pollfd>& polled) const override;
    // False when polkit has ended: it no longer knows this agent.
    bool proceed(const LaunchChild& launcher) override;

    // True when polkit asked for the password.
    bool wasAsked() const { return wasAsked_; }
    // True when the launcher's request was accepted, but the password could not be checked.
    bool hasFailed() const { return hasFailed_; }

  private:
    State registerSelf();
    BusMessage newRegistryCall(const char* member) const;
    bool appendSubject(const BusMessage& call) const;
    bool watchPolkit();
    BusMessage replyTo(std::uint64_t cookie, BusConnection::Clock::time_point limit);
    void unregisterSelf();

    void begin(BusMessage call, const LaunchChild& launcher);
    void cancel(const BusMessage& call);
    void continueAuthentication();
    void refuse(const BusMessage& call) const;
    bool isFrom(const BusMessage& message, const std::string& sender) const;

    const SdBus& bus_;
    uid_t user_;
    Authentication authentication_;
    std::optional<BusConnection> connection_;
    std::string polkit_;  // the unique name of the daemon that has registered this agent
    State state_;

    bool hasBegun_ = false;
    BusMessage call_;  // the request that is being answered
    std::string cookie_;
    std::unique_ptr<PolkitConversation> conversation_;
    bool wasAsked_ = false;
    bool hasFailed_ = false;
};

}  // namespace quillmoor::platform::linux_::authorization
