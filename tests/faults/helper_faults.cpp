// The start of a launcher, the check of a password, the client's calls for a real helper and a tool
// of its, and the helper's own, each failing in turn.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <thread>
#include <utility>

#include "quillmoor/platform/linux/authorization/channel/launch_child_linux.h"
#include "quillmoor/platform/linux/authorization/channel/launch_wait_linux.h"
#include "quillmoor/platform/linux/authorization/channel/tool_stream_linux.h"
#include "quillmoor/platform/linux/authorization/helper/session_linux.h"
#include "quillmoor/platform/linux/authorization/polkit/polkit_helper_linux.h"
#include "tests/children/child_tools.h"
#include "tests/faults/fault_loop.h"
#include "tests/faults/released_child.h"
#include "tests/platform/linux/authorization/support/authorization_fixtures.h"
#include "tests/support/temp_folder.h"
#include "tests/support/write_guard.h"

namespace quillmoor::test {
namespace {

using platform::AuthorizedToolStream;
using platform::linux_::authorization::Channel;
using platform::linux_::authorization::isReadable;
using platform::linux_::authorization::LaunchChild;
using platform::linux_::authorization::LaunchSetup;
using platform::linux_::authorization::openToolPipes;
using platform::linux_::authorization::PolkitConversation;
using platform::linux_::authorization::PolkitHelper;
using platform::linux_::authorization::Rendezvous;
using platform::linux_::authorization::helper::Client;
using platform::linux_::authorization::helper::serve;

// The pipes that were let go of are closed when another tool gets its own, once theirs has ended.
class ClosedPipes {
  public:
    ClosedPipes() {
        openToolPipes();
        descriptors_ = openDescriptorCount();
    }
    ~ClosedPipes() {
        eventually([this] {
            openToolPipes();
            return openDescriptorCount() <= descriptors_;
        });
    }
    ClosedPipes(const ClosedPipes&) = delete;
    ClosedPipes& operator=(const ClosedPipes&) = delete;

  private:
    int descriptors_ = 0;
};

// A helper that this process, which is root's, starts itself.
class HelperWorld {
  public:
    HelperWorld() { ::setenv("XDG_RUNTIME_DIR", meetingPlace_.path().c_str(), 1); }
    ~HelperWorld() { endHelper(); }
    HelperWorld(const HelperWorld&) = delete;
    HelperWorld& operator=(const HelperWorld&) = delete;

    std::optional<Channel> letIn() {
        std::optional<Rendezvous> rendezvous = Rendezvous::open();
        if (!rendezvous) return std::nullopt;
        {
            const NotCounted notCounted;
            helper_ = startProgram(helperCommand(*rendezvous));
            pollfd request{rendezvous->descriptor(), POLLIN, 0};
            EXPECT_EQ(::poll(&request, 1, 10'000), 1);
        }
        return rendezvous->accept(helper_);
    }

    const std::string& meetingPlace() const { return meetingPlace_.path(); }

  private:
    void endHelper() const {
        if (helper_ <= 0) return;
        const platform::posix::Descriptor process = openProcess(helper_);
        pollfd ended{process.get(), POLLIN, 0};
        EXPECT_EQ(::poll(&ended, 1, 10'000), 1) << "the helper runs without its client";
        ::kill(helper_, SIGKILL);
        ::waitpid(helper_, nullptr, 0);
    }

    ClosedPipes closedPipes_;
    TempFolder meetingPlace_;
    // The second folder for the socket, used when the first one fails.
    AllowWritesBelow otherPlace_{"/tmp"};
    pid_t helper_ = -1;
};

FaultScenario toolOfTheHelper() {
    return {"ToolOfTheRealHelper",
            {},
            [](FaultRun& run) {
                HelperWorld world;
                std::string output;
                bool wasLetIn = false;
                bool isStarted = false;
                run.inject([&] {
                    std::optional<Channel> channel = world.letIn();
                    wasLetIn = channel.has_value();
                    if (!channel) return;
                    std::shared_ptr<AuthorizedToolStream> stream;
                    isStarted = channel->execute("/bin/echo", {"text"}, stream) == 0;
                    if (isStarted) output = allOf(*stream);
                });
                EXPECT_TRUE(isStarted || run.faulted());
                EXPECT_TRUE(output == "text\n" || run.faulted());
                EXPECT_TRUE(std::string_view("text\n").starts_with(output)) << output;
                // The folder in which they met is gone, if it could be removed.
                if (!run.isLasting() && std::string_view(FaultInjection::call()) != "unlinkat") {
                    EXPECT_TRUE(std::filesystem::is_empty(world.meetingPlace()));
                }
            },
            Throws::AndMemory};
}

// The helper's work in a thread. Without memory it ends, as the program does.
class HelperThread {
  public:
    explicit HelperThread(Client client)
        : thread_([served = std::move(client)] { serveUntilTheEnd(served); }) {}
    ~HelperThread() { thread_.join(); }
    HelperThread(const HelperThread&) = delete;
    HelperThread& operator=(const HelperThread&) = delete;

    static inline std::atomic<int> started = 0;

  private:
    static void serveUntilTheEnd(const Client& client) {
        try {
            serve(client, [](const Client&, const StringList&) { ++started; });
        } catch (const std::bad_alloc&) {
        }
        // The other end sees it at once.
        ::shutdown(client.socket.get(), SHUT_RDWR);
    }

    std::thread thread_;
};

// The helper's side of a channel, beside its client's.
FaultScenario helperThatServes() {
    return {"HelperThatServes",
            {},
            [](FaultRun& run) {
                const ClosedPipes closedPipes;
                // As in the helper: the tools are not waited for.
                ::signal(SIGCHLD, SIG_IGN);
                std::optional<Connection> connection(std::in_place);
                Client client = thisProcessAsClient(std::move(connection->second));
                bool isStarted = false;
                std::string output;
                run.inject([&] {
                    HelperThread helper(std::move(client));
                    std::optional<Channel> channel = Channel::greet(std::move(connection->first));
                    if (!channel) return;
                    std::shared_ptr<AuthorizedToolStream> stream;
                    isStarted = channel->execute("/bin/echo", {"text"}, stream) == 0;
                    if (isStarted) output = allOf(*stream);
                });
                EXPECT_TRUE(isStarted || run.faulted());
                EXPECT_TRUE(output == "text\n" || run.faulted());
                // A start that the client knows of is on record.
                EXPECT_TRUE(HelperThread::started == 1 || !isStarted);
            },
            Throws::AndMemory};
}

// A start that fails leaves no child, which the loop looks for.
FaultScenario startOfALauncher() {
    return {"StartOfALauncher",
            {},
            [](FaultRun& run) {
                LaunchSetup setup;
                setup.path = "/bin/true";
                std::unique_ptr<LaunchChild> child;
                run.inject([&] { child = LaunchChild::start(setup); });
                EXPECT_TRUE(child || run.faulted());
                if (!child) return;
                EXPECT_TRUE(eventually([&] { return child->end().has_value(); }));
                EXPECT_EQ(child->end()->code, 0);
            },
            Throws::AndMemory};
}

// Whatever leaves the scenario.
struct CollectsTheRest {
    ~CollectsTheRest() { releaseRunningChild(); }
};

// By a program such as polkit's own.
FaultScenario checkOfAPassword() {
    return {"CheckOfAPassword",
            {},
            [](FaultRun& run) {
                const CollectsTheRest collector;
                const TempFolder folder;
                PolkitHelper helper;
                helper.program = folder.writeFile("helper",
                                                  "#!/bin/sh\n"
                                                  "read -r cookie\n"
                                                  "echo 'PAM_PROMPT_ECHO_OFF Password: '\n"
                                                  "read -r password\n"
                                                  "[ \"$cookie $password\" = 'one two' ] &&"
                                                  " echo SUCCESS || echo FAILURE\n");
                ::chmod(helper.program->c_str(), 0755);
                using Outcome = PolkitConversation::Outcome;
                Outcome outcome = Outcome::Undecided;
                bool wasAsked = false;
                run.inject([&] {
                    const auto conversation = helper.start("kxadmin", "one", "two");
                    if (!conversation) return;
                    while (outcome == Outcome::Undecided &&
                           isReadable(conversation->descriptor(), std::chrono::seconds(10)))
                        outcome = conversation->proceed();
                    wasAsked = conversation->wasAsked();
                });
                EXPECT_TRUE(outcome == Outcome::Granted || run.faulted());
                EXPECT_TRUE(outcome != Outcome::Granted || wasAsked);
                EXPECT_NE(outcome, Outcome::Refused);
            },
            Throws::AndMemory};
}

}  // namespace

std::vector<FaultScenario> helperScenarios() {
    if (::geteuid() != 0) return {helperThatServes(), startOfALauncher(), checkOfAPassword()};
    return {toolOfTheHelper(), helperThatServes(), startOfALauncher(), checkOfAPassword()};
}

}  // namespace quillmoor::test
