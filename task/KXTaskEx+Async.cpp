#include <utility>

#include "quillmoor/base/operation.h"
#include "quillmoor/log/KXException.h"
#include "quillmoor/log/KXLog.h"
#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/uncaught_exceptions.h"
#include "quillmoor/task/KXTaskEx.h"

namespace quillmoor {
namespace {

constexpr char kLaunchAsyncTask[] = "-[KXTaskEx launchAsyncTask]";

// Packages are not rejected here; launching a directory fails later. Kept for compatibility.
bool canBeLaunched(const std::string& path) {
    platform::FileManager& fileManager = *platform::current().fileManager;
    return fileManager.fileExists(path) && fileManager.isExecutableFile(path);
}

AsyncTaskNotification envelope(Data chunk) {
    return {KXAsyncTaskDataNotification, std::move(chunk)};
}

// Reports the exception that is being handled.
void report() {
    const platform::Exception exception = platform::currentException();
    noteFailure(exception);
    KXException::logException(&exception, kLaunchAsyncTask);
}

}  // namespace

// The run that the library calls an operation for, whose arguments do not name it. The operation
// takes it; calls that a delegate makes meanwhile are for the run that they find.
class KXTaskEx::HandedOver {
  public:
    HandedOver(const KXTaskEx& task, Run run)
        : task_(task), run_(run), outer_(std::exchange(latest, this)) {}
    ~HandedOver() { latest = outer_; }
    HandedOver(const HandedOver&) = delete;
    HandedOver& operator=(const HandedOver&) = delete;

    static std::optional<Run> take(const KXTaskEx& task) {
        if (latest == nullptr || &latest->task_ != &task) return std::nullopt;
        return std::exchange(latest->run_, std::nullopt);
    }

  private:
    static thread_local HandedOver* latest;

    const KXTaskEx& task_;
    std::optional<Run> run_;
    HandedOver* const outer_;
};

thread_local constinit KXTaskEx::HandedOver* KXTaskEx::HandedOver::latest = nullptr;

void KXTaskEx::asyncDataFromTask(const OptionalPath& path, const OptionalArguments& arguments,
                                 Object delegate, Selector selector, Object object) {
    recorded({"-[KXTaskEx asyncDataFromTask:arguments:delegate:selector:object:]", path}, [&] {
        asyncDataFromTask(path, arguments, std::move(delegate), std::move(selector),
                          std::move(object), std::nullopt);
    });
}

void KXTaskEx::asyncDataFromTask(const OptionalPath& path, const OptionalArguments& arguments,
                                 Object delegate, Selector selector, Object object,
                                 const OptionalEnvironment& environment) {
    const OperationCall call{
        "-[KXTaskEx asyncDataFromTask:arguments:delegate:selector:object:environment:]", path};
    recorded(call, [&] {
        const platform::Platform& system = platform::current();
        // The previous listener is removed first, and destroyed by the assignment, with nothing
        // locked: its destructor may call this instance.
        Listener listener;
        exchangeListener(listener);
        {
            const OutsideOperations destructors;
            listener = {std::move(delegate), std::move(selector), std::move(object)};
        }
        const TaskReference task = system.tasks->makeTask();
        task->setStandardOutput(system.fileHandles->makePipe());
        task->setStandardError(system.fileHandles->nullDevice());
        if (environment) task->setEnvironment(*environment);
        task->setLaunchPath(path.value_or(""));
        task->setArguments(arguments.value_or(StringList()));
        const Run run = prepare(listener, task);
        system.mainThread->detachNewThread([this, kept = reference(), run] {
            const HandedOver handedOver(*this, run);
            launchAsyncTask();
        });
    });
}

// Under the lock, so that a termination happens before or after it, never in between.
KXTaskEx::Run KXTaskEx::prepare(Listener& listener, const TaskReference& task) {
    const std::lock_guard preparing(launchMutex_);
    exchangeListener(listener);
    setTheTask(task);
    return terminations_;
}

void KXTaskEx::launchAsyncTask() {
    recorded("-[KXTaskEx launchAsyncTask]",
             [this] { read(HandedOver::take(*this).value_or(terminations_)); });
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

// Terminating waits until the launch is over: a tool that is launched meanwhile would not be
// terminated.
bool KXTaskEx::launchTheTask(Run run) {
    const std::lock_guard launching(launchMutex_);
    const TaskReference task = taskOf(run);
    if (task == nullptr) {
        KXLog::appendLogAndPrint("Unable to launch async task - no task set");
        return noteFailure(KXFailure::Reason::MissingArgument);
    }
    if (!canBeLaunched(task->launchPath())) {
        KXLog::appendLog("Unable to launch async task - task does not exist or is not executable");
        return noteFailure(KXFailure::Reason::NotExecutable, task->launchPath());
    }
    task->launch();
    return true;
}

// Null when the run is over. Must be called with launchMutex_ locked, or the task of the next run
// could be taken for this one's.
KXTaskEx::TaskReference KXTaskEx::taskOf(Run run) const {
    return run == terminations_ ? theTask() : nullptr;
}

// False at the end of the output. Another run may have replaced the task without a termination;
// then its output is read here as well.
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
        // A termination closes the handle to stop the reading: then this is the end.
        if (run == terminations_) throw;
    }
    const HandedOver handedOver(*this, run);
    asyncTaskReturnData(envelope(chunk.takeData()));
    return more;
}

void KXTaskEx::asyncTaskReturnData(const AsyncTaskNotification& notification) {
    recorded("-[KXTaskEx asyncTaskReturnData:]",
             [&] { returnData(notification, HandedOver::take(*this).value_or(terminations_)); });
}

void KXTaskEx::returnData(const AsyncTaskNotification& notification, Run run) {
    const bool ended = notification.fileHandleNotificationDataItem.empty();
    {
        const OutsideOperations delegate;
        // A copy, so that the delegate lives while it is called, and nothing is locked.
        const Listener receiver = listener(run);
        if (receiver.delegate != nullptr && receiver.selector)
            receiver.selector(notification.fileHandleNotificationDataItem, *this, receiver.object);
    }
    if (!ended) return;
    const HandedOver handedOver(*this, run);
    terminateAsyncTask();
}

void KXTaskEx::terminateAsyncTask() {
    recorded("-[KXTaskEx terminateAsyncTask]", [this] { terminate(HandedOver::take(*this)); });
}

// If a run is given, only while it is not over. The caller's objects are released with nothing
// locked, because their destructors may call this instance. A reader that has not launched the task
// before never will.
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
    {
        const OutsideOperations destructors;
        forgotten.delegate.reset();
        forgotten.object.reset();
        forgotten.selector = nullptr;
    }
    if (task != nullptr && task->isRunning()) task->terminate();
    const std::lock_guard launching(launchMutex_);
    // Another run may have been prepared while nothing was locked: its task stays.
    if (theTask() == task) setTheTask(nullptr);
}

// Empty when the run is over.
KXTaskEx::Listener KXTaskEx::listener(Run run) const {
    const std::lock_guard lock(mutex_);
    return run == terminations_ ? listener_ : Listener{};
}

void KXTaskEx::exchangeListener(Listener& listener) {
    const std::lock_guard lock(mutex_);
    std::swap(listener_, listener);
}

}  // namespace quillmoor
