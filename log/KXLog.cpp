#include "quillmoor/log/KXLog.h"

#include <cstddef>
#include <cstdio>
#include <mutex>
#include <new>
#include <utility>

#include "quillmoor/base/paths.h"
#include "quillmoor/log/KXException.h"
#include "quillmoor/log/ReentrantLock.h"
#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/fork.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/uncaught_exceptions.h"

namespace quillmoor {
namespace {

// Quitting must not be held up by a long backlog.
constexpr std::size_t kPendingWorthWaitingFor = 20;

constexpr char kExceptionReport[] = "Exception writing to log: %s\n";

// The lock of the class, and what it guards. Constant-initialised: the log can be used before, and
// while, other objects of static storage are constructed.
constinit ReentrantLock classLock;
constinit std::atomic<KXLog*> shared{nullptr};
constinit std::atomic<bool> sharedIsSetUp{false};
constinit bool isAllocated = false;
// Not allocated: without memory for the controller not even a loss could be reported.
alignas(KXLog) constinit std::byte instanceStorage[sizeof(KXLog)]{};
constinit bool controllerIsLockedForFork = false;

// What other threads log while the process dies is dropped: it would delay the end, and enough of
// it would push the reason out of the five generations.
void reportUncaught(const platform::Exception* exception) {
    const KXLog* const log = KXLog::sharedController();
    WriteQueue* const queue = log != nullptr ? log->writeQueue() : nullptr;
    if (queue != nullptr) queue->acceptOnlyFromThisThread();
    uncaughtExceptionHandler(exception);
}

}  // namespace

KXLog* KXLog::sharedController() noexcept {
    if (!sharedIsSetUp.load(std::memory_order_acquire)) setUpSharedController();
    return shared.load(std::memory_order_relaxed);
}

void KXLog::setUpSharedController() noexcept {
    watchForks();
    const std::lock_guard guard(classLock);
    if (sharedIsSetUp.load(std::memory_order_relaxed)) return;
    // Locks again, for its own callers; hence the reentrant lock.
    shared = allocWithZone();
    if (KXLog* controller = shared) controller->setUp();
    platform::setUncaughtExceptionHandler(reportUncaught);
    sharedIsSetUp.store(true, std::memory_order_release);
}

// Without memory for the observer the program's end does not wait for the queue.
void KXLog::setUp() noexcept {
    makeQueue();
    try {
        // Each message asks this. What the first call creates is created here, under the lock that
        // a fork waits for.
        static_cast<void>(platform::current().mainThread->isMainThread());
        platform::current().mainThread->addTerminationObserver(willTerminate);
    } catch (...) {
        reportCaughtException();
    }
}

// If no thread can be started there is no queue, and every message is reported as lost.
void KXLog::makeQueue() noexcept {
    try {
        setWriteQueue(
            WriteQueue::create([this](std::string_view message) { appendLogOnThread(message); }));
    } catch (...) {
        hasNoWorker_ = true;
    }
}

KXLog* KXLog::allocWithZone() noexcept {
    const std::lock_guard guard(classLock);
    if (isAllocated) return nullptr;
    isAllocated = true;
    return new (instanceStorage) KXLog;
}

// A fork waits until the controller is set up: the thread that does it does not exist in the child.
// Threads that make the first call at the same time each register, which is harmless. Waiting for
// each other would not be: in a child that is forked meanwhile the wait would never end.
void KXLog::watchForks() {
    platform::callAroundFork(lockBeforeFork, unlockAfterFork, dropQueueInForkedChild);
}

void KXLog::lockBeforeFork() {
    classLock.lock();
    KXLog* const controller = shared;
    // More than one registration may call this for one fork.
    if (controller == nullptr || controllerIsLockedForFork) return;
    controller->lock_.lock();
    controllerIsLockedForFork = true;
}

void KXLog::unlockAfterFork() {
    if (controllerIsLockedForFork) shared.load()->lock_.unlock();
    controllerIsLockedForFork = false;
    classLock.unlock();
}

// The worker does not exist in the child.
void KXLog::dropQueueInForkedChild() {
    if (KXLog* const controller = shared) {
        controller->setWriteQueue(nullptr);
        controller->isForkedCopy_ = true;
    }
    unlockAfterFork();
}

// If there is no memory for the report either, std::bad_alloc is reported, from a buffer on the
// stack.
void KXLog::reportCaughtException() noexcept {
    const KXLog* const log = shared;
    if (log != nullptr && log->loggingDisabled()) return;
    try {
        platform::current().console->print(
            formatted(kExceptionReport, platform::currentException().reason()));
        return;
    } catch (...) {
    }
    try {
        char text[sizeof kExceptionReport + 16];
        std::snprintf(text, sizeof text, kExceptionReport, "std::bad_alloc");
        platform::current().console->print(text);
    } catch (...) {
    }
}

void KXLog::willTerminate() noexcept {
    try {
        platform::current().mainThread->removeTerminationObserver(willTerminate);
    } catch (...) {
        reportCaughtException();
    }
    if (KXLog* controller = sharedController()) controller->shutDown();
}

void KXLog::dealloc() noexcept {
    shutDown();
}

void KXLog::shutDown() noexcept {
    WriteQueue* queue = writeQueue();
    if (queue != nullptr && queue->operationCount() < kPendingWorthWaitingFor) finishWriting();
    setAppName(std::nullopt);
    setWriteQueue(nullptr);
    hasNoWorker_ = false;
    try {
        if (const auto handle = fileHandle()) handle->closeFile();
    } catch (...) {
        reportCaughtException();
    }
    setFileHandle(nullptr);
}

OptionalString KXLog::appName() const noexcept {
    try {
        return findName();
    } catch (...) {
        reportCaughtException();
    }
    return std::nullopt;
}

OptionalString KXLog::findName() const {
    {
        const std::lock_guard guard(lock_);
        if (appName_) return appName_;
    }
    const OptionalPath program = platform::current().bundles->mainBundle()->executablePath();
    if (!program) return std::nullopt;
    return deletePathExtension(lastPathComponent(*program));
}

void KXLog::setAppName(const OptionalString& name) noexcept {
    try {
        storeName(name);
    } catch (...) {
        reportCaughtException();
    }
}

void KXLog::storeName(OptionalString name) {
    // Swapped: the old name is freed after the spin lock was released.
    const std::lock_guard guard(lock_);
    appName_.swap(name);
}

std::shared_ptr<platform::FileHandle> KXLog::fileHandle() const noexcept {
    const std::lock_guard guard(lock_);
    return fileHandle_;
}

void KXLog::setFileHandle(std::shared_ptr<platform::FileHandle> handle) noexcept {
    const std::lock_guard guard(lock_);
    fileHandle_.swap(handle);
}

}  // namespace quillmoor
