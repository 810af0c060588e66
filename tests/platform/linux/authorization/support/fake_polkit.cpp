#include "tests/platform/linux/authorization/support/fake_polkit.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <atomic>
#include <cstring>
#include <thread>

namespace quillmoor::test {
namespace {

using platform::linux_::authorization::BusMessageRelease;
using platform::linux_::authorization::SdBus;
using platform::linux_::authorization::sdBus;
using platform::posix::Descriptor;

constexpr char kAgent[] = "org.freedesktop.PolicyKit1.AuthenticationAgent";
constexpr char kAuthority[] = "org.freedesktop.PolicyKit1.Authority";
constexpr char kBusName[] = "org.freedesktop.DBus";

struct BusId {
    std::uint8_t bytes[16];
};

// What only the other end of a connection needs of the library.
template <class Function>
Function function(const char* name) {
    static void* const library = ::dlopen("libsystemd.so.0", RTLD_LAZY | RTLD_LOCAL);
    return reinterpret_cast<Function>(::dlsym(library, name));
}

void setFd(sd_bus* bus, int descriptor) {
    static const auto call = function<int (*)(sd_bus*, int, int)>("sd_bus_set_fd");
    EXPECT_GE(call(bus, descriptor, descriptor), 0);
}

void setServer(sd_bus* bus) {
    static const auto call = function<int (*)(sd_bus*, int, BusId)>("sd_bus_set_server");
    EXPECT_GE(call(bus, 1, BusId{{1}}), 0);
}

void setSender(sd_bus_message* message, const std::string& sender) {
    static const auto call =
        function<int (*)(sd_bus_message*, const char*)>("sd_bus_message_set_sender");
    EXPECT_GE(call(message, sender.c_str()), 0);
}

int newSignal(sd_bus* bus, sd_bus_message** message, const char* member) {
    static const auto call =
        function<int (*)(sd_bus*, sd_bus_message**, const char*, const char*, const char*)>(
            "sd_bus_message_new_signal");
    return call(bus, message, "/org/freedesktop/DBus", kBusName, member);
}

int newReturn(sd_bus_message* to, sd_bus_message** message) {
    static const auto call =
        function<int (*)(sd_bus_message*, sd_bus_message**)>("sd_bus_message_new_method_return");
    return call(to, message);
}

int newError(sd_bus_message* to, sd_bus_message** message, const std::string& name) {
    static const auto call =
        function<int (*)(sd_bus_message*, sd_bus_message**, const char*, const char*, ...)>(
            "sd_bus_message_new_method_errorf");
    return call(to, message, name.c_str(), "%s", "by the test");
}

std::string errorOf(sd_bus_message* message) {
    struct Error {
        const char* name;
        const char* message;
        int isNeeded;
    };
    static const auto call =
        function<const Error* (*)(sd_bus_message*)>("sd_bus_message_get_error");
    const Error* const error = call(message);
    return error != nullptr ? error->name : "";
}

// The kind of a subject, and each of its values.
std::string subjectIn(sd_bus_message* call) {
    const SdBus& bus = *sdBus();
    const char* text = "";
    bus.enterContainer(call, 'r', "sa{sv}");
    bus.read(call, "s", &text);
    std::string subject = text;
    bus.enterContainer(call, 'a', "{sv}");
    while (bus.enterContainer(call, 'e', "sv") > 0) {
        std::uint32_t number = 0;
        std::int32_t user = 0;
        std::uint64_t time = 0;
        bus.read(call, "s", &text);
        std::string value = "of another type";
        if (bus.read(call, "v", "u", &number) > 0)
            value = std::to_string(number) + "u";
        else if (bus.read(call, "v", "t", &time) > 0)
            value = std::to_string(time) + "t";
        else if (bus.read(call, "v", "i", &user) > 0)
            value = std::to_string(user) + "i";
        subject += " " + std::string(text) + "=" + value;
        bus.exitContainer(call);
    }
    bus.exitContainer(call);
    bus.exitContainer(call);
    return subject;
}

}  // namespace

FakePolkit::FakePolkit() : path_(folder_ / "bus") {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path_.c_str(), sizeof address.sun_path - 1);
    listener_ = Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
              0);
    EXPECT_EQ(::listen(listener_.get(), 1), 0);
}

FakePolkit::~FakePolkit() {
    closeConnection();
}

void FakePolkit::closeConnection() {
    if (bus_ == nullptr) return;
    sdBus()->close(bus_);
    sdBus()->unref(bus_);
    bus_ = nullptr;
}

void FakePolkit::accept() {
    pollfd waiting{listener_.get(), POLLIN, 0};
    if (bus_ != nullptr || ::poll(&waiting, 1, 0) != 1) return;
    const int socket = ::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    ASSERT_GE(socket, 0);
    ASSERT_GE(sdBus()->create(&bus_), 0);
    setFd(bus_, socket);
    setServer(bus_);
    ASSERT_GE(sdBus()->start(bus_), 0);
}

void FakePolkit::serveDuring(const std::function<void()>& body) {
    std::atomic<bool> isDone = false;
    std::thread server([&] {
        while (!isDone) {
            accept();
            serve();
            pollfd polled{bus_ != nullptr ? sdBus()->getFd(bus_) : listener_.get(), POLLIN, 0};
            ::poll(&polled, 1, 5);
        }
    });
    body();
    isDone = true;
    server.join();
}

void FakePolkit::serve() {
    if (bus_ == nullptr) return;
    sd_bus_message* received = nullptr;
    while (sdBus()->process(bus_, &received) > 0) {
        const Message message(std::exchange(received, nullptr), BusMessageRelease{sdBus()});
        std::uint64_t cookie = 0;
        if (message == nullptr) continue;
        if (sdBus()->getReplyCookie(message.get(), &cookie) >= 0) {
            const bool isError = sdBus()->isMethodError(message.get(), nullptr) > 0;
            replies_[cookie] = isError ? errorOf(message.get()) : "returned";
        } else if (sdBus()->isMethodCall(message.get(), nullptr, nullptr) > 0) {
            answer(message);
        }
    }
}

void FakePolkit::answer(const Message& call) {
    const SdBus& bus = *sdBus();
    if (bus.isMethodCall(call.get(), kBusName, "Hello") > 0) {
        const Message reply = replyFor(call);
        bus.append(reply.get(), "s", ":1.42");
        send(reply, kBusName);
        return;
    }
    if (bus.isMethodCall(call.get(), kBusName, "AddMatch") > 0) {
        calls.emplace_back("watch");
        send(replyFor(call), kBusName);
        return;
    }
    const bool isRegistration =
        bus.isMethodCall(call.get(), kAuthority, "RegisterAuthenticationAgent") > 0;
    calls.emplace_back(isRegistration ? "register" : "unregister");
    lastSubject = subjectIn(call.get());
    for (const char* text = ""; bus.read(call.get(), "s", &text) > 0;)
        lastSubject += " " + std::string(text);
    if (isRegistration && beforeRegistration) beforeRegistration();
    if (!isRegistration || registrationError.empty()) {
        send(replyFor(call), registrar);
        return;
    }
    sd_bus_message* error = nullptr;
    EXPECT_GE(newError(call.get(), &error, registrationError), 0);
    send(Message(error, BusMessageRelease{&bus}), registrar);
}

FakePolkit::Message FakePolkit::replyFor(const Message& call) {
    sd_bus_message* reply = nullptr;
    EXPECT_GE(newReturn(call.get(), &reply), 0);
    return {reply, BusMessageRelease{sdBus()}};
}

std::uint64_t FakePolkit::send(const Message& message, const std::string& sender) {
    std::uint64_t cookie = 0;
    setSender(message.get(), sender);
    EXPECT_GE(sdBus()->send(bus_, message.get(), &cookie), 0);
    replies_[cookie] = "pending";
    return cookie;
}

FakePolkit::Message FakePolkit::newCall(const char* interface, const char* member) {
    sd_bus_message* call = nullptr;
    EXPECT_GE(sdBus()->newMethodCall(bus_, &call, ":1.42", "/com/quillmoor/rights/Agent", interface,
                                     member),
              0);
    return {call, BusMessageRelease{sdBus()}};
}

std::uint64_t FakePolkit::begin(const Request& request) {
    static const auto open =
        function<int (*)(sd_bus_message*, char, const char*)>("sd_bus_message_open_container");
    static const auto close = function<int (*)(sd_bus_message*)>("sd_bus_message_close_container");
    const SdBus& bus = *sdBus();
    const Message message = newCall(kAgent, "BeginAuthentication");
    sd_bus_message* const call = message.get();
    bus.append(call, "sss", request.action.c_str(), "a message", "an icon");
    open(call, 'a', "{ss}");
    for (const auto& [name, value] : request.details)
        bus.append(call, "{ss}", name.c_str(), value.c_str());
    close(call);
    bus.append(call, "s", request.cookie.c_str());
    open(call, 'a', "(sa{sv})");
    for (const auto& [kind, number] : request.identities)
        bus.append(call, "(sa{sv})", kind.c_str(), 2U, "name", "s", "a name",
                   kind == "unix-group" ? "gid" : "uid", "u", static_cast<std::uint32_t>(number));
    close(call);
    return send(message, request.sender);
}

std::uint64_t FakePolkit::cancel(const std::string& sender, const std::string& cookie) {
    const Message message = newCall(kAgent, "CancelAuthentication");
    sdBus()->append(message.get(), "s", cookie.c_str());
    return send(message, sender);
}

std::uint64_t FakePolkit::call(const std::string& sender, const char* interface,
                               const char* member) {
    return send(newCall(interface, member), sender);
}

void FakePolkit::changeOwner(const std::string& sender) {
    sd_bus_message* signal = nullptr;
    EXPECT_GE(newSignal(bus_, &signal, "NameOwnerChanged"), 0);
    const Message message(signal, BusMessageRelease{sdBus()});
    sdBus()->append(message.get(), "sss", "org.freedesktop.PolicyKit1", ":1.7", "");
    send(message, sender);
}

std::string FakePolkit::replyTo(std::uint64_t cookie) {
    serve();
    return replies_[cookie];
}

}  // namespace quillmoor::test
