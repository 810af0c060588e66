#include <utility>

#include "quillmoor/log/KXException.h"
#include "quillmoor/log/KXLog.h"
#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/uncaught_exceptions.h"
#include "quillmoor/task/KXTaskEx.h"

namespace quillmoor {
namespace {

constexpr char kLaunchAsyncTask[] = "-[KXTaskEx launchAsyncTask]";

// There is no test for a package here: a folder fails in the launch.
bool canBeLaunched(const std::string& path) {
    platform::FileManager& fileManager = *platform::current().fileManager;
    return fileManager.fileExists(path) && fileManager.isExecutableFile(path);
}

AsyncTaskNotification envelope(Data chunk) {
    return {KXAsyncTaskDataNotification, std::move(chunk)};
}

// Of what is being caught.
void report() {
    const platform::Exception exception = platform::currentException();
    KXException::logException(&exception, kLaunchAsyncTask);
}

}  // namespace

void KXTaskEx::asyncDataFromTask(const OptionalPath& path, const OptionalArguments& arguments,
                                 Object delegate, Selector selector, Object object) {
    asyncDataFromTask(path, arguments, std::move(delegate), std::move(selector), std::move(object),
                      std::nullopt);
}

void KXTaskEx::asyncDataFromTask(const OptionalPath& path, const OptionalArguments& arguments,
                                 Object delegate, Selector selector, Object object,
                                 const OptionalEnvironment& environment) {
    const platform::Platform& system = platform::current();
    Listener listener;
    exchangeListener(listener);
    listener = {std::move(delegate), std::move(selector), std::move(object)};
    const TaskReference task = system.tasks->makeTask();
    task->setStandardOutput(system.fileHandles->makePipe());
    task->setStandardError(system.fileHandles->nullDevice());
    if (environment) task->setEnvironment(*environment);
    task->setLaunchPath(path.value_or(""));
    task->setArguments(arguments.value_or(StringList()));
    const Run run = prepare(listener, task);
    system.mainThread->detachNewThread([self = shared_from_this(), run] { self->read(run); });
}

// A termination comes before or after, never in between.
KXTaskEx::Run KXTaskEx::prepare(Listener& listener, const TaskReference& task) {
    const std::lock_guard preparing(launchMutex_);
    exchangeListener(listener);
    setTheTask(task);
    return terminations_;
}

void KXTaskEx::launchAsyncTask() {
    read(terminations_);
}

void KXTaskEx::read(Run run) {
    try {
        if (launchTheTask(run))
            while (returnNextChunk(run)) {
            }
    } catch (...) {
        report();
    }
}

// Terminating waits until the launch is over, so that no tool slips through between the two.
bool KXTaskEx::launchTheTask(Run run) {
    const std::lock_guard launching(launchMutex_);
    const TaskReference task = taskOf(run);
    if (task == nullptr) {
        KXLog::appendLogAndPrint("Unable to launch async task - no task set");
        return false;
    }
    if (!canBeLaunched(task->launchPath())) {
        KXLog::appendLog("Unable to launch async task - task does not exist or is not executable");
        return false;
    }
    task->launch();
    return true;
}

// None, when the run is over. Under the lock, or the next run's task might be taken for this one's.
KXTaskEx::TaskReference KXTaskEx::taskOf(Run run) const {
    return run == terminations_ ? theTask() : nullptr;
}

// NO when that was the end. Another run may have replaced the task without a termination; then its
// output is read here as well.
bool KXTaskEx::returnNextChunk(Run run) {
    TaskReference task;
    {
        const std::lock_guard launching(launchMutex_);
        task = taskOf(run);
    }
    const auto output = task != nullptr ? task->standardOutput() : nullptr;
    platform::ByteBuffer chunk;
    bool more = false;
    try {
        more = output != nullptr && output->readAvailableData(chunk) != 0;
    } catch (const platform::Exception&) {
        // Closed under the reader by the one who ended the run.
        if (run == terminations_) throw;
    }
    returnData(envelope(chunk.takeData()), run);
    return more;
}

void KXTaskEx::asyncTaskReturnData(const AsyncTaskNotification& notification) {
    returnData(notification, terminations_);
}

void KXTaskEx::returnData(const AsyncTaskNotification& notification, Run run) {
    const bool ended = notification.fileHandleNotificationDataItem.empty();
    // A copy, so that the delegate lives while it is called, and nothing is locked.
    const Listener told = listener(run);
    if (told.delegate != nullptr && told.selector)
        told.selector(notification.fileHandleNotificationDataItem, *this, told.object);
    if (ended) terminate(run);
}

void KXTaskEx::terminateAsyncTask() {
    terminate(std::nullopt);
}

// Only if it is still this run's turn, where one is given. What the caller gave is released with
// nothing locked, since it may come back to this instance; a reader that has not launched the task
// by then never will.
void KXTaskEx::terminate(std::optional<Run> run) {
    TaskReference task;
    Listener forgotten;
    {
        const std::lock_guard launching(launchMutex_);
        if (run && *run != terminations_) return;
        ++terminations_;
        task = theTask();
        const auto output = task != nullptr ? task->standardOutput() : nullptr;
        if (output != nullptr) output->closeFile();
        exchangeListener(forgotten);
    }
    forgotten.delegate.reset();
    forgotten.object.reset();
    forgotten.selector = nullptr;
    if (task != nullptr && task->isRunning()) task->terminate();
    const std::lock_guard launching(launchMutex_);
    // Not that of a run that was started meanwhile.
    if (theTask() == task) setTheTask(nullptr);
}

// Nobody, when the run is over.
KXTaskEx::Listener KXTaskEx::listener(Run run) const {
    const std::lock_guard lock(mutex_);
    return run == terminations_ ? listener_ : Listener{};
}

void KXTaskEx::exchangeListener(Listener& listener) {
    const std::lock_guard lock(mutex_);
    std::swap(listener_, listener);
}

}  // namespace quillmoor
