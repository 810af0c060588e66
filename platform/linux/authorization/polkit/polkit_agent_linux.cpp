#include "quillmoor/platform/linux/authorization/polkit/polkit_agent_linux.h"

#include <unistd.h>

#include <chrono>
#include <utility>

#include "quillmoor/platform/linux/authorization/polkit/agent_request_linux.h"
#include "quillmoor/platform/linux/authorization/polkit/own_process_linux.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using Clock = BusConnection::Clock;

constexpr std::chrono::seconds kRegistrationTimeout{10};
constexpr std::chrono::seconds kEndTimeout{1};

constexpr char kBusName[] = "org.freedesktop.DBus";
constexpr char kPolkitName[] = "org.freedesktop.PolicyKit1";
constexpr char kAuthority[] = "org.freedesktop.PolicyKit1.Authority";
constexpr char kAgentInterface[] = "org.freedesktop.PolicyKit1.AuthenticationAgent";
constexpr char kAgentPath[] = "/com/quillmoor/rights/Agent";
constexpr char kNotAuthenticated[] = "org.freedesktop.PolicyKit1.Error.Failed";
constexpr char kCancelled[] = "org.freedesktop.PolicyKit1.Error.Cancelled";
constexpr char kNameChanged[] = "NameOwnerChanged";
// polkit's name gets another owner when the daemon ends or is restarted.
constexpr char kNameRule[] =
    "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
    "member='NameOwnerChanged',arg0='org.freedesktop.PolicyKit1'";

}  // namespace

PolkitAgent::PolkitAgent(const SdBus& bus, const std::string& address, uid_t user,
                         Authentication authentication)
    : bus_(bus), user_(user), authentication_(std::move(authentication)) {
    connection_ = BusConnection::open(bus, address);
    state_ = connection_ ? registerSelf() : State::NoAuthority;
}

PolkitAgent::~PolkitAgent() {
    conversation_.reset();
    if (state_ == State::Registered) unregisterSelf();
}

PolkitAgent::State PolkitAgent::registerSelf() {
    const auto limit = Clock::now() + kRegistrationTimeout;
    const BusMessage call = newRegistryCall("RegisterAuthenticationAgent");
    // The signal is asked for before the registration is sent, so that no end of polkit after it is
    // missed.
    if (!call || !appendSubject(call) || bus_.append(call.get(), "ss", "C", kAgentPath) < 0 ||
        !watchPolkit())
        return State::Failed;
    const std::optional<std::uint64_t> cookie = connection_->send(call);
    const BusMessage reply = cookie ? replyTo(*cookie, limit) : BusMessage();
    if (!reply) return connection_->isOpen() ? State::Failed : State::NoAuthority;
    if (bus_.isMethodError(reply.get(), nullptr) > 0)
        // For a service that it cannot reach, the bus itself replies.
        return isFrom(reply, kBusName) ? State::NoAuthority : State::Failed;
    // Another process may take over the name that was called; a unique name is never reused.
    const char* const sender = bus_.getSender(reply.get());
    if (sender == nullptr) return State::Failed;
    polkit_ = sender;
    return State::Registered;
}

BusMessage PolkitAgent::newRegistryCall(const char* member) const {
    return connection_->newCall(kPolkitName, "/org/freedesktop/PolicyKit1/Authority", kAuthority,
                                member);
}

bool PolkitAgent::appendSubject(const BusMessage& call) const {
    const std::optional<std::uint64_t> start = ownStartTime();
    // The types are polkit's, which has a signed user id. It refuses a wrong start time.
    return start && bus_.append(call.get(), "(sa{sv})", "unix-process", 3U,          //
                                "pid", "u", static_cast<std::uint32_t>(::getpid()),  //
                                "start-time", "t", *start,                           //
                                "uid", "i", static_cast<std::int32_t>(::getuid())) >= 0;
}

bool PolkitAgent::watchPolkit() {
    const BusMessage call =
        connection_->newCall(kBusName, "/org/freedesktop/DBus", kBusName, "AddMatch");
    return call && bus_.append(call.get(), "s", kNameRule) >= 0 && connection_->send(call);
}

// Null without a reply by that time. Requests that arrive meanwhile are dropped: none is ours yet.
BusMessage PolkitAgent::replyTo(std::uint64_t cookie, Clock::time_point limit) {
    do {
        while (BusMessage message = connection_->receive()) {
            std::uint64_t answered = 0;
            if (bus_.getReplyCookie(message.get(), &answered) >= 0 && answered == cookie)
                return message;
            if (bus_.isMethodCall(message.get(), nullptr, nullptr) > 0) refuse(message);
        }
    } while (connection_->isOpen() && connection_->wait(limit));
    return {};
}

// By a call, since a child made by fork may keep the connection open.
void PolkitAgent::unregisterSelf() {
    const BusMessage call = newRegistryCall("UnregisterAuthenticationAgent");
    if (!call || !appendSubject(call) || bus_.append(call.get(), "s", kAgentPath) < 0) return;
    if (const std::optional<std::uint64_t> cookie = connection_->send(call))
        replyTo(*cookie, Clock::now() + kEndTimeout);
}

void PolkitAgent::await(std::vector<pollfd>& polled) const {
    polled.push_back({connection_->descriptor(), connection_->events(), 0});
    if (conversation_) polled.push_back({conversation_->descriptor(), POLLIN, 0});
}

bool PolkitAgent::proceed(const LaunchChild& launcher) {
    while (BusMessage message = connection_->receive()) {
        if (bus_.isMethodCall(message.get(), kAgentInterface, "BeginAuthentication") > 0)
            begin(std::move(message), launcher);
        else if (bus_.isMethodCall(message.get(), kAgentInterface, "CancelAuthentication") > 0)
            cancel(message);
        // From the bus only: other processes can send a signal of that name as well.
        else if (bus_.isSignal(message.get(), kBusName, kNameChanged) > 0 &&
                 isFrom(message, kBusName))
            return false;
    }
    if (conversation_) continueAuthentication();
    return connection_->isOpen();
}

void PolkitAgent::begin(BusMessage call, const LaunchChild& launcher) {
    std::optional<AgentRequest> request = readAgentRequest(bus_, call.get());
    // The launcher must still run: otherwise its id may be another process's by now.
    if (hasBegun_ || !isFrom(call, polkit_) || !request ||
        !isForLauncher(*request, launcher.pid(), user_) || !launcher.isRunning()) {
        refuse(call);
        return;
    }
    // No other request is served from now on, also after a failure: the password is tried once.
    hasBegun_ = true;
    conversation_ = authentication_(request->cookie);
    if (!conversation_) {
        hasFailed_ = true;
        refuse(call);
        return;
    }
    cookie_ = std::move(request->cookie);
    call_ = std::move(call);
}

void PolkitAgent::cancel(const BusMessage& call) {
    const char* cookie = nullptr;
    if (!conversation_ || !isFrom(call, polkit_) || bus_.read(call.get(), "s", &cookie) <= 0 ||
        cookie_ != cookie) {
        refuse(call);
        return;
    }
    conversation_.reset();
    // Both calls get a reply: the request that is cancelled, and the one that cancels it.
    bus_.replyMethodError(call_.get(), kCancelled, "%s", "Cancelled");
    bus_.replyMethodReturn(call.get(), nullptr);
}

void PolkitAgent::continueAuthentication() {
    const PolkitConversation::Outcome outcome = conversation_->proceed();
    wasAsked_ = conversation_->wasAsked();
    if (outcome == PolkitConversation::Outcome::Undecided) return;
    if (outcome == PolkitConversation::Outcome::Granted)
        bus_.replyMethodReturn(call_.get(), nullptr);
    else
        refuse(call_);
    // Not a wrong password: the program that should check it has failed.
    hasFailed_ = outcome == PolkitConversation::Outcome::Failed;
    conversation_.reset();
}

void PolkitAgent::refuse(const BusMessage& call) const {
    bus_.replyMethodError(call.get(), kNotAuthenticated, "%s", "Not authenticated");
}

bool PolkitAgent::isFrom(const BusMessage& message, const std::string& sender) const {
    const char* const name = bus_.getSender(message.get());
    return name != nullptr && name == sender;
}

}  // namespace quillmoor::platform::linux_::authorization
