#include "platform/main_thread.h"

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "platform/exception.h"
#include "platform/main_run_loop.h"
#include "platform/native_services.h"
#include "platform/posix/error_text_posix.h"
#include "platform/posix/main_thread_posix.h"

namespace quillmoor::platform {
namespace posix {
namespace {

// Lets another thread wait until a function has been run, or was left by an exception.
class Completion {
  public:
    void set() {
        const std::lock_guard lock(mutex_);
        done_ = true;
        changed_.notify_all();
    }
    void wait() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return done_; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool done_ = false;
};

// Every signal is blocked in this thread, and in those it makes meanwhile.
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t before_{};
};

using TerminationObserver = void (*)();

class TerminationObservers {
  public:
    void add(TerminationObserver observer) {
        const std::lock_guard lock(mutex_);
        if (std::find(observers_.begin(), observers_.end(), observer) != observers_.end()) return;
        observers_.push_back(observer);
        if (!hostTells_ && !atExit_) atExit_ = std::atexit(atEndOfProcess) == 0;
    }

    void remove(TerminationObserver observer) {
        const std::lock_guard lock(mutex_);
        std::erase(observers_, observer);
    }

    void leaveToHost() {
        const std::lock_guard lock(mutex_);
        hostTells_ = true;
    }

    // Each one once. The lock is not held meanwhile: an observer may add and remove others.
    void call() {
        std::vector<TerminationObserver> toCall;
        {
            const std::lock_guard lock(mutex_);
            toCall = observers_;
        }
        for (const TerminationObserver observer : toCall)
            if (takeOut(observer)) observer();
    }

  private:
    static void atEndOfProcess();

    bool hostTells() {
        const std::lock_guard lock(mutex_);
        return hostTells_;
    }
    bool takeOut(TerminationObserver observer) {
        const std::lock_guard lock(mutex_);
        return std::erase(observers_, observer) != 0;
    }

    std::mutex mutex_;
    std::vector<TerminationObserver> observers_;
    bool hostTells_ = false;
    bool atExit_ = false;
};

TerminationObservers& terminationObservers() {
    static auto* const shared = new TerminationObservers;
    return *shared;
}

void TerminationObservers::atEndOfProcess() {
    if (!terminationObservers().hostTells()) terminationObservers().call();
}

// Set before any other use, and empty in a program without a host.
std::function<bool()>& mainThreadTest() {
    static auto* const test = new std::function<bool()>;
    return *test;
}

class PosixMainThread final : public MainThread {
  public:
    bool isMainThread() override { return posix::isMainThread(); }

    void performOnMainThread(std::function<void()> function, WaitUntilDone wait) override {
        if (wait == WaitUntilDone::No) return MainRunLoop::postToAllModes(std::move(function));
        if (isMainThread()) return function();
        const auto completion = std::make_shared<Completion>();
        MainRunLoop::postToAllModes([&function, completion] {
            struct Done {
                Completion& completion;
                ~Done() { completion.set(); }
            } const done{*completion};
            function();
        });
        completion->wait();
    }

    void detachNewThread(std::function<void()> body) override {
        const SignalsBlocked blocked;
        try {
            std::thread(std::move(body)).detach();
        } catch (const std::system_error& error) {
            throw Exception("NSGenericException",
                            "no thread could be started: " + systemErrorText(error.code().value()));
        }
    }

    void addTerminationObserver(void (*observer)()) override {
        terminationObservers().add(observer);
    }

    void removeTerminationObserver(void (*observer)()) override {
        terminationObservers().remove(observer);
    }
};

}  // namespace

bool isMainThread() {
    return mainThreadTest() ? mainThreadTest()() : isFirstThread();
}

void setMainThreadTest(std::function<bool()> test) {
    mainThreadTest() = std::move(test);
}

void leaveTerminationToHost() {
    terminationObservers().leaveToHost();
}

void callTerminationObservers() {
    terminationObservers().call();
}

}  // namespace posix

MainThread* nativeMainThread() {
    static MainThread* const mainThread = new posix::PosixMainThread;
    return mainThread;
}

}  // namespace quillmoor::platform
