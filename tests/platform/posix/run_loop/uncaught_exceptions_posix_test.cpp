// How a process ends that dies of an exception. Each of these processes is a child of the test.
#include "quillmoor/platform/uncaught_exceptions.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <thread>

namespace quillmoor::platform {
namespace {

// The status with which a child ends that runs `body`; it gets a minute.
int statusOf(void (*body)()) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(60);
        body();
        ::_exit(99);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return status;
}

void expectExit(int status, int code) {
    EXPECT_TRUE(WIFEXITED(status)) << status;
    EXPECT_EQ(WEXITSTATUS(status), code);
}

std::thread::id dyingThread;

TEST(UncaughtException, IsHandledOnTheThreadThatItEscapedFrom) {
    expectExit(statusOf([] {
                   setUncaughtExceptionHandler([](const Exception* exception) {
                       const bool here = std::this_thread::get_id() == dyingThread;
                       ::_exit(here && exception->reason() == "thrown" ? 7 : 8);
                   });
                   std::thread([] {
                       dyingThread = std::this_thread::get_id();
                       throw std::runtime_error("thrown");
                   }).join();
               }),
               7);
}

TEST(UncaughtException, InTheHandlerItselfEndsTheProcessAtOnce) {
    const int status = statusOf([] {
        setUncaughtExceptionHandler([](const Exception*) { throw 2; });
        std::thread([] { throw 1; }).join();
    });
    EXPECT_TRUE(WIFSIGNALED(status)) << status;
    EXPECT_EQ(WTERMSIG(status), SIGABRT);
}

TEST(UncaughtException, CallsTheTerminateHandlerThatWasThereBefore) {
    expectExit(statusOf([] {
                   std::set_terminate([] { ::_exit(7); });
                   setUncaughtExceptionHandler([](const Exception*) {});
                   std::thread([] { throw 1; }).join();
               }),
               7);
}

TEST(Terminate, WithoutAnExceptionCallsNoHandler) {
    expectExit(statusOf([] {
                   std::set_terminate([] { ::_exit(7); });
                   setUncaughtExceptionHandler([](const Exception*) { ::_exit(8); });
                   std::terminate();
               }),
               7);
}

pid_t parent = 0;
std::atomic<bool> isReporting{false};

// The parent's report never ends; its child reports all the same.
TEST(UncaughtException, IsReportedInAForkedChildOfAProcessThatReports) {
    expectExit(statusOf([] {
                   parent = ::getpid();
                   setUncaughtExceptionHandler([](const Exception*) {
                       if (::getpid() != parent) ::_exit(7);
                       isReporting = true;
                       while (true) ::pause();
                   });
                   std::thread([] { throw 1; }).detach();
                   while (!isReporting) std::this_thread::yield();
                   const pid_t child = ::fork();
                   if (child == 0) {
                       ::alarm(30);
                       try {
                           throw 2;
                       } catch (...) {
                           std::terminate();
                       }
                   }
                   int status = -1;
                   ::waitpid(child, &status, 0);
                   ::_exit(WIFEXITED(status) ? WEXITSTATUS(status) : 98);
               }),
               7);
}

}  // namespace
}  // namespace quillmoor::platform
