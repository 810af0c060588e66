// A fake of the bus and of polkit's daemon: it chooses the sender of a message, which a real bus
// does not allow.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "quillmoor/platform/linux/authorization/polkit/bus_connection_linux.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {

class FakePolkit {
  public:
    using Message = platform::linux_::authorization::BusMessage;

    // What is asked of an agent, in polkit's own words.
    struct Request {
        std::string sender = ":1.7";
        std::string action = "org.freedesktop.policykit.exec";
        std::map<std::string, std::string> details;
        std::string cookie = "cookie-1";
        std::vector<std::pair<std::string, uid_t>> identities;  // kind and number
    };

    FakePolkit();
    ~FakePolkit();
    FakePolkit(const FakePolkit&) = delete;
    FakePolkit& operator=(const FakePolkit&) = delete;

    // Where it listens.
    std::string address() const { return "unix:path=" + path_; }

    // The reply to the registration: from `sender`, with an error if `error` has a name.
    std::string registrar = ":1.7";
    std::string registrationError;
    // Called before it replies to the registration.
    std::function<void()> beforeRegistration;

    // Runs `body`, which registers or unregisters an agent, and replies meanwhile.
    void serveDuring(const std::function<void()>& body);
    // What was called on it, one word for each call.
    std::vector<std::string> calls;
    // What the last registration or its end said of the agent and its subject.
    std::string lastSubject;

    // These send one message to the agent and return what its reply will be known by.
    std::uint64_t begin(const Request& request);
    std::uint64_t cancel(const std::string& sender, const std::string& cookie);
    std::uint64_t call(const std::string& sender, const char* interface, const char* member);
    // polkit has another owner.
    void changeOwner(const std::string& sender);
    void closeConnection();

    // The reply that has come to such a message: "pending", "returned", or the name of the error.
    std::string replyTo(std::uint64_t cookie);

  private:
    void accept();
    void serve();
    void answer(const Message& call);
    Message replyFor(const Message& call);
    std::uint64_t send(const Message& message, const std::string& sender);
    Message newCall(const char* interface, const char* member);

    TempFolder folder_;
    std::string path_;
    platform::posix::Descriptor listener_;
    sd_bus* bus_ = nullptr;
    std::map<std::uint64_t, std::string> replies_;
};

}  // namespace quillmoor::test
