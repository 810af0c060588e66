// The wait on the main thread that sends a host's events, and the same without a host.
#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <limits>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quillmoor/platform/main_run_loop.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/posix/run_loop/host_services_posix.h"

namespace quillmoor::platform::posix {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

MainThread& mainThread() {
    return *native().mainThread;
}

void perform(std::function<void()> function) {
    mainThread().performOnMainThread(std::move(function), WaitUntilDone::No);
}

TEST(NextEvent, WaitsWithoutAHostAndSendsNothing) {
    const auto start = steady_clock::now();
    EXPECT_FALSE(mainThread().sendNextEvent(20ms));
    EXPECT_GE(steady_clock::now() - start, 20ms);
}

TEST(NextEvent, DoesNotWaitForZeroOrANegativeTime) {
    bool ran = false;
    perform([&] { ran = true; });
    EXPECT_FALSE(mainThread().sendNextEvent(milliseconds::min()));
    EXPECT_TRUE(ran);
    EXPECT_FALSE(mainThread().sendNextEvent(0ms));
}

TEST(NextEvent, WhatIsPerformedOnTheMainThreadRunsMeanwhile) {
    bool ran = false;
    std::thread other(
        [&] { mainThread().performOnMainThread([&] { ran = true; }, WaitUntilDone::Yes); });
    while (!ran) mainThread().sendNextEvent(5ms);
    other.join();
}

TEST(NextEvent, LeavesFunctionsOfTheDefaultModeQueued) {
    bool ran = false;
    MainRunLoop::postToDefaultMode([&] { ran = true; });
    mainThread().sendNextEvent(5ms);
    EXPECT_FALSE(ran);
    MainRunLoop::drain(RunLoopMode::Default);
    EXPECT_TRUE(ran);
}

TEST(NextEvent, MayBeSentByAFunctionThatRunsMeanwhile) {
    std::string order;
    bool defaultRan = false;
    MainRunLoop::postToDefaultMode([&] { defaultRan = true; });
    perform([&] {
        order += "a";
        mainThread().sendNextEvent(1ms);
        order += "c";
    });
    perform([&] { order += "b"; });
    mainThread().sendNextEvent(1ms);
    EXPECT_EQ(order, "abc");
    EXPECT_FALSE(defaultRan);
    MainRunLoop::drain(RunLoopMode::Default);
}

TEST(NextEvent, ReturnsFalseOnAnotherThread) {
    bool ran = false;
    perform([&] { ran = true; });
    bool sent = true;
    std::thread([&] { sent = mainThread().sendNextEvent(10s); }).join();
    EXPECT_FALSE(sent);
    EXPECT_FALSE(ran);
    MainRunLoop::drain(RunLoopMode::Default);
}

// A host with an event loop of watched descriptors and one event to send. A process is joined to
// one host until it exits, so each test has its own process.
struct Host {
    std::map<int, std::function<void()>> watched;
    std::function<void()> event;
    std::function<void()> whenAsked;
    std::vector<milliseconds> waits;

    HostServices services() {
        HostServices services;
        services.watch = [this](int descriptor, std::function<void()> drain) {
            watched[descriptor] = std::move(drain);
        };
        services.observeTermination = [](const std::function<void()>&) {};
        services.sendNextEvent = [this](milliseconds longest) { return sendNextEvent(longest); };
        return services;
    }

    // As a toolkit does: watched descriptors are events, too.
    bool sendNextEvent(milliseconds longest) {
        waits.push_back(longest);
        if (whenAsked) std::exchange(whenAsked, nullptr)();
        if (event) {
            std::exchange(event, nullptr)();
            return true;
        }
        std::vector<pollfd> polled;
        for (const auto& [descriptor, drain] : watched) polled.push_back({descriptor, POLLIN, 0});
        if (::poll(polled.data(), polled.size(), static_cast<int>(longest.count())) <= 0)
            return false;
        for (const pollfd& each : polled)
            if (each.revents != 0) watched[each.fd]();
        return true;
    }
};

// Runs `body` with a host in its own process; it must return true.
template <typename Body>
void expectWithHost(Body body) {
    EXPECT_EXIT(
        {
            Host host;
            attachHost(host.services());
            std::_Exit(body(host) ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(NextEventDeathTest, TheHostSendsItsEvent) {
    expectWithHost([](Host& host) {
        bool sent = false;
        host.event = [&] { sent = true; };
        return mainThread().sendNextEvent(10s) && sent && host.waits == std::vector{10'000ms};
    });
}

TEST(NextEventDeathTest, AHostWithoutAnEventWaitsSoLong) {
    expectWithHost([](Host& host) {
        const auto start = steady_clock::now();
        return !mainThread().sendNextEvent(20ms) && steady_clock::now() - start >= 20ms &&
               host.waits == std::vector{20ms};
    });
}

TEST(NextEventDeathTest, AWaitIsOneThatAHostCanCount) {
    expectWithHost([](Host& host) {
        for (const milliseconds longest :
             {milliseconds::min(), milliseconds(-1), milliseconds(0), milliseconds::max()}) {
            host.event = [] {};
            mainThread().sendNextEvent(longest);
        }
        return host.waits ==
               std::vector{0ms, 0ms, 0ms, milliseconds(std::numeric_limits<int>::max())};
    });
}

TEST(NextEventDeathTest, TheModalModeIsOnTopWhileTheHostIsAsked) {
    expectWithHost([](Host& host) {
        bool modal = false;
        bool onlyDefault = false;
        host.event = [&] {
            MainRunLoop::postToDefaultMode([&] { onlyDefault = true; });
            MainRunLoop::drain(RunLoopMode::Default);
            perform([&] { modal = true; });
            MainRunLoop::drain(RunLoopMode::ModalPanel);
        };
        mainThread().sendNextEvent(10s);
        const bool during = modal && !onlyDefault;
        MainRunLoop::drain(RunLoopMode::Default);
        return during && onlyDefault;
    });
}

TEST(NextEventDeathTest, WhatWaitsForTheModalModeRunsBeforeTheHostIsAsked) {
    expectWithHost([](Host& host) {
        std::string order;
        perform([&] { order += "a"; });
        perform([&] { order += "b"; });
        host.event = [&] { order += "c"; };
        return mainThread().sendNextEvent(10s) && order == "abc";
    });
}

TEST(NextEventDeathTest, RunsWhatIsPostedWhileTheHostWaits) {
    expectWithHost([](Host& host) {
        bool ran = false;
        std::promise<void> asked;
        host.whenAsked = [&] { asked.set_value(); };
        std::thread other([&] {
            asked.get_future().wait();
            mainThread().performOnMainThread([&] { ran = true; }, WaitUntilDone::Yes);
        });
        mainThread().sendNextEvent(10s);
        other.join();
        return ran;
    });
}

TEST(NextEventDeathTest, DoesNotLoopOnFunctionsOfTheDefaultMode) {
    expectWithHost([](Host& host) {
        bool ran = false;
        MainRunLoop::postToDefaultMode([&] { ran = true; });
        const auto start = steady_clock::now();
        mainThread().sendNextEvent(20ms);
        return steady_clock::now() - start >= 20ms && !ran && host.waits == std::vector{0ms};
    });
}

TEST(NextEventDeathTest, AnEventMayAskForTheNextOne) {
    expectWithHost([](Host& host) {
        std::string order;
        host.event = [&] {
            order += "a";
            host.event = [&] { order += "b"; };
            if (mainThread().sendNextEvent(10s)) order += "c";
        };
        return mainThread().sendNextEvent(10s) && order == "abc";
    });
}

TEST(NextEventDeathTest, AnExceptionInWhatWaitsLeavesNothingBehind) {
    expectWithHost([](Host& host) {
        perform([] { throw 1; });
        bool thrown = false;
        try {
            mainThread().sendNextEvent(10s);
        } catch (int) {
            thrown = true;
        }
        MainRunLoop::drain(RunLoopMode::Default);
        return thrown && host.waits.empty();
    });
}

TEST(NextEventDeathTest, WaitsWithAHostThatSendsNoEvents) {
    EXPECT_EXIT(
        {
            Host host;
            HostServices services = host.services();
            services.sendNextEvent = nullptr;
            attachHost(services);
            bool ran = false;
            perform([&] { ran = true; });
            std::_Exit(!mainThread().sendNextEvent(1ms) && ran ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace quillmoor::platform::posix
