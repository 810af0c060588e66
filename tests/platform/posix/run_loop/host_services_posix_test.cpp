#include "quillmoor/platform/posix/run_loop/host_services_posix.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "quillmoor/platform/main_run_loop.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/task.h"
#include "tests/children/child_tools.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::posix {
namespace {

using namespace std::chrono_literals;

// A host with an event loop of one descriptor. A process is joined to one host until it exits, so
// each test with another host runs in its own process.
struct Host {
    int descriptor = -1;
    std::function<void()> drain;
    std::function<void()> terminate;

    HostServices services() {
        HostServices services;
        services.watch = [this](int watched, std::function<void()> callback) {
            descriptor = watched;
            drain = std::move(callback);
        };
        services.observeTermination = [this](std::function<void()> callback) {
            terminate = std::move(callback);
        };
        return services;
    }

    bool hasSomethingToDo(int milliseconds) const {
        pollfd polled{descriptor, POLLIN, 0};
        return ::poll(&polled, 1, milliseconds) == 1;
    }
};

void sayEnd() {
    std::fputs("end;", stderr);
    std::fflush(stderr);
}

[[noreturn]] void leave(bool right) {
    std::_Exit(right ? 0 : 1);
}

TEST(HostServicesDeathTest, TheHostsLoopRunsWhatIsPerformedOnTheMainThread) {
    EXPECT_EXIT(
        {
            Host host;
            attachHost(host.services());
            bool ran = false;
            std::thread other([&] {
                native().mainThread->performOnMainThread([&] { ran = true; }, WaitUntilDone::Yes);
            });
            if (!host.hasSomethingToDo(10'000)) leave(false);
            host.drain();
            other.join();
            leave(ran && !host.hasSomethingToDo(0));
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(HostServicesDeathTest, UsesTheHostsMainThread) {
    EXPECT_EXIT(
        {
            Host host;
            HostServices services = host.services();
            const auto hostsThread = std::this_thread::get_id();
            services.isMainThread = [hostsThread] {
                return std::this_thread::get_id() != hostsThread;
            };
            attachHost(services);
            bool other = false;
            std::thread([&] { other = native().mainThread->isMainThread(); }).join();
            leave(other && !native().mainThread->isMainThread());
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(HostServicesDeathTest, CallsObserversOnceWhenTheHostAnnouncesTheEnd) {
    EXPECT_EXIT(
        {
            Host host;
            attachHost(host.services());
            native().mainThread->addTerminationObserver(sayEnd);
            host.terminate();
            host.terminate();
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^end;$");
}

TEST(HostServicesDeathTest, DoesNotCallObserversWhenTheHostAnnouncesNoEnd) {
    EXPECT_EXIT(
        {
            native().mainThread->addTerminationObserver(sayEnd);
            Host host;
            attachHost(host.services());
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^$");
}

TEST(HostServicesDeathTest, WaitingForAChildServesTheLoopWithoutTheHost) {
    test::TempFolder folder;
    EXPECT_EXIT(
        {
            Host host;
            attachHost(host.services());
            const auto task = native().tasks->makeTask();
            task->setLaunchPath(test::childPath("hang"));
            task->setArguments({folder / "pid"});
            task->launch();
            native().mainThread->performOnMainThread([&] { task->terminate(); }, WaitUntilDone::No);
            task->waitUntilExit();
            leave(task->terminationStatus() == SIGTERM);
        },
        ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace quillmoor::platform::posix
