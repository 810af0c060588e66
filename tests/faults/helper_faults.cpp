// The start of a launcher, and the client's calls for a real helper and a tool of its, each failing
// in turn.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "platform/linux/rights/launch_child_linux.h"
#include "platform/linux/rights/tool_stream_linux.h"
#include "tests/children/child_tools.h"
#include "tests/faults/fault_loop.h"
#include "tests/platform/rights/rights_fixtures.h"

namespace quillmoor::test {
namespace {

using platform::AuthorizedToolStream;
using platform::linux_::rights::Channel;
using platform::linux_::rights::LaunchChild;
using platform::linux_::rights::LaunchSetup;
using platform::linux_::rights::openToolPipes;
using platform::linux_::rights::Rendezvous;

// A helper that this process, which is root's, starts itself.
class HelperWorld {
  public:
    HelperWorld() {
        openToolPipes();
        descriptors_ = openDescriptorCount();
    }
    ~HelperWorld() {
        endHelper();
        // What was let go of is closed when another tool gets its pipes, once the tool has ended.
        eventually([this] {
            openToolPipes();
            return openDescriptorCount() <= descriptors_;
        });
    }

    std::optional<Channel> letIn() {
        std::optional<Rendezvous> rendezvous = Rendezvous::open();
        if (!rendezvous) return std::nullopt;
        {
            const NotCounted notCounted;
            helper_ = startProgram(helperCommand(*rendezvous));
            pollfd knock{rendezvous->descriptor(), POLLIN, 0};
            EXPECT_EQ(::poll(&knock, 1, 10'000), 1);
        }
        return rendezvous->accept(helper_);
    }

  private:
    void endHelper() const {
        if (helper_ <= 0) return;
        const platform::posix::Descriptor process = openProcess(helper_);
        pollfd ended{process.get(), POLLIN, 0};
        EXPECT_EQ(::poll(&ended, 1, 10'000), 1) << "the helper goes on without its client";
        ::kill(helper_, SIGKILL);
        ::waitpid(helper_, nullptr, 0);
    }

    int descriptors_ = 0;
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
                // The folder in which they met is gone.
                if (!run.isLasting()) {
                    EXPECT_TRUE(std::filesystem::is_empty(std::getenv("TMPDIR")));
                }
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

}  // namespace

std::vector<FaultScenario> helperScenarios() {
    if (::geteuid() != 0) return {startOfALauncher()};
    return {toolOfTheHelper(), startOfALauncher()};
}

}  // namespace quillmoor::test
