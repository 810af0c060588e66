#include "log/KXLog.h"

#include <mutex>
#include <utility>

#include "base/paths.h"
#include "log/KXException.h"
#include "platform/exception.h"
#include "platform/platform.h"
#include "platform/uncaught_exceptions.h"

namespace quillmoor {
namespace {

// Quitting must not be held up by a long backlog.
constexpr std::size_t kPendingWorthWaitingFor = 20;

// The lock of the class. Never destroyed, for threads may still log while the process ends.
std::recursive_mutex& classLock() {
    static auto& lock = *new std::recursive_mutex;
    return lock;
}

std::atomic<KXLog*> shared{nullptr};
std::atomic<bool> sharedIsSetUp{false};

void reportUncaught(const platform::Exception& exception) {
    uncaughtExceptionHandler(&exception);
}

}  // namespace

KXLog* KXLog::sharedController() {
    if (!sharedIsSetUp.load(std::memory_order_acquire)) setUpSharedController();
    return shared.load(std::memory_order_relaxed);
}

void KXLog::setUpSharedController() {
    const std::lock_guard guard(classLock());
    if (sharedIsSetUp.load(std::memory_order_relaxed)) return;
    KXLog* controller = allocWithZone();
    shared = controller;
    if (controller != nullptr) {
        controller->makeQueue();
        platform::current().processInfo->callInForkedChild(dropQueueInForkedChild);
    }
    platform::current().mainThread->addTerminationObserver(willTerminate);
    platform::setUncaughtExceptionHandler(reportUncaught);
    sharedIsSetUp.store(true, std::memory_order_release);
}

// Where no thread can be started there is no queue, and every message is reported as lost.
void KXLog::makeQueue() {
    try {
        setWriteQueue(
            WriteQueue::create([this](std::string_view message) { appendLogOnThread(message); }));
    } catch (const platform::Exception&) {
        hasNoWorker_ = true;
    }
}

KXLog* KXLog::allocWithZone() {
    const std::lock_guard guard(classLock());
    static bool allocated = false;
    if (allocated) return nullptr;
    auto* instance = new KXLog;
    allocated = true;
    return instance;
}

// The worker does not exist in the child, and whoever held the lock may not either.
void KXLog::dropQueueInForkedChild() {
    KXLog* controller = shared.load(std::memory_order_relaxed);
    controller->setWriteQueue(nullptr);
    controller->lock_.unlock();
}

void KXLog::willTerminate() {
    platform::current().mainThread->removeTerminationObserver(willTerminate);
    if (KXLog* controller = sharedController()) controller->shutDown();
}

void KXLog::dealloc() {
    shutDown();
}

void KXLog::shutDown() {
    WriteQueue* queue = writeQueue();
    if (queue != nullptr && queue->operationCount() < kPendingWorthWaitingFor) finishWriting();
    setAppName(std::nullopt);
    setWriteQueue(nullptr);
    hasNoWorker_ = false;
    if (const auto handle = fileHandle()) handle->closeFile();
    setFileHandle(nullptr);
}

OptionalString KXLog::appName() const {
    {
        const std::lock_guard guard(lock_);
        if (appName_) return appName_;
    }
    const OptionalPath program = platform::current().bundles->mainBundle()->executablePath();
    if (!program) return std::nullopt;
    return deletePathExtension(lastPathComponent(*program));
}

void KXLog::setAppName(const OptionalString& name) {
    const std::lock_guard guard(lock_);
    appName_ = name;
}

std::shared_ptr<platform::FileHandle> KXLog::fileHandle() const {
    const std::lock_guard guard(lock_);
    return fileHandle_;
}

void KXLog::setFileHandle(std::shared_ptr<platform::FileHandle> handle) {
    const std::lock_guard guard(lock_);
    fileHandle_.swap(handle);
}

}  // namespace quillmoor
