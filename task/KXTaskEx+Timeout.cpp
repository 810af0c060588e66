#include <utility>

#include "quillmoor/base/operation.h"
#include "quillmoor/base/seconds.h"
#include "quillmoor/log/KXException.h"
#include "quillmoor/log/KXLog.h"
#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/task/KXTaskEx.h"

namespace quillmoor {
namespace {

// Clears an instance's task now, and again when the run is over, also after an exception: a
// time-out that passes later must find no task.
class FieldCleared {
  public:
    explicit FieldCleared(KXTaskEx& runner) : runner_(runner) { runner_.setTheTask(nullptr); }
    ~FieldCleared() { runner_.setTheTask(nullptr); }
    FieldCleared(const FieldCleared&) = delete;
    FieldCleared& operator=(const FieldCleared&) = delete;

  private:
    KXTaskEx& runner_;
};

}  // namespace

std::shared_ptr<KXTaskEx> KXTaskEx::create() {
    return std::shared_ptr<KXTaskEx>(new KXTaskEx);
}

void KXTaskEx::runTask(const OptionalPath& path, const OptionalArguments& arguments,
                       Timeout timeout) {
    recorded({"+[KXTaskEx runTask:arguments:timeout:]", path},
             [&] { create()->runTaskOnInstance(path, arguments, timeout); });
}

std::optional<Data> KXTaskEx::dataFromTask(const OptionalPath& path,
                                           const OptionalArguments& arguments, Timeout timeout) {
    return recorded({"+[KXTaskEx dataFromTask:arguments:timeout:]", path},
                    [&] { return create()->dataFromTaskOnInstance(path, arguments, timeout); });
}

long KXTaskEx::terminationCodeFromTask(const OptionalPath& path, const OptionalArguments& arguments,
                                       Timeout timeout) {
    return recorded({"+[KXTaskEx terminationCodeFromTask:arguments:timeout:]", path}, [&] {
        return create()->terminationCodeFromTaskOnInstance(path, arguments, timeout);
    });
}

void KXTaskEx::runTaskOnInstance(const OptionalPath& path, const OptionalArguments& arguments,
                                 Timeout timeout) {
    recorded({"-[KXTaskEx runTask:arguments:timeout:]", path},
             [&] { runWithTimeout(path, given(arguments), timeout); });
}

std::optional<Data> KXTaskEx::dataFromTaskOnInstance(const OptionalPath& path,
                                                     const OptionalArguments& arguments,
                                                     Timeout timeout) {
    return recorded({"-[KXTaskEx dataFromTask:arguments:timeout:]", path},
                    [&] { return dataWithTimeout(path, given(arguments), timeout); });
}

long KXTaskEx::terminationCodeFromTaskOnInstance(const OptionalPath& path,
                                                 const OptionalArguments& arguments,
                                                 Timeout timeout) {
    return recorded({"-[KXTaskEx terminationCodeFromTask:arguments:timeout:]", path},
                    [&] { return terminationCodeWithTimeout(path, given(arguments), timeout); });
}

void KXTaskEx::runWithTimeout(const OptionalPath& path, const ArgumentSource& arguments,
                              Timeout timeout) {
    startTimeout(timeout);
    const FieldCleared field(*this);
    run(path, arguments, storeInField());
    noteIfTimedOut();
}

std::optional<Data> KXTaskEx::dataWithTimeout(const OptionalPath& path,
                                              const ArgumentSource& arguments, Timeout timeout) {
    startTimeout(timeout);
    const FieldCleared field(*this);
    auto output = data(
        path, arguments, storeInField(), [] { return std::nullopt; }, LogOutput::Yes);
    noteIfTimedOut();
    return output;
}

long KXTaskEx::terminationCodeWithTimeout(const OptionalPath& path, const ArgumentSource& arguments,
                                          Timeout timeout) {
    startTimeout(timeout);
    const FieldCleared field(*this);
    const long status = terminationCode(path, arguments, storeInField());
    noteIfTimedOut();
    return status;
}

KXTaskEx::TaskSink KXTaskEx::storeInField() {
    return [this](const TaskReference& made) { setTheTask(made); };
}

// Nothing wakes the thread when the run ends earlier: it sleeps to its end, and then finds the
// field empty. Until then it keeps the instance. Started before the run, so that a run without a
// time-out cannot happen when there is no thread.
void KXTaskEx::startTimeout(Timeout timeout) {
    hasTimedOut_ = false;
    platform::current().mainThread->detachNewThread(
        [this, kept = reference(), seconds = wholeSeconds(timeout)] { setupTimeout(seconds); });
}

void KXTaskEx::noteIfTimedOut() {
    if (hasTimedOut_) noteFailure(KXFailure::Reason::TimedOut);
}

void KXTaskEx::setupTimeout(std::chrono::seconds seconds) {
    const platform::Platform& system = platform::current();
    system.clock->sleep(seconds);
    try {
        system.mainThread->performOnMainThread([this] { timeout(); }, platform::WaitUntilDone::Yes);
    } catch (const platform::Exception& exception) {
        // Leaving the thread it would end the process.
        KXException::logException(&exception, "-[KXTaskEx setupTimeout:]");
    }
}

void KXTaskEx::timeout() {
    const TaskReference task = theTask();
    if (task == nullptr || !task->isRunning()) return;
    platform::current().console->log("Task timed out. Terminating...");
    KXLog::appendLog("Task %@ timed out. Terminating...", task->launchPath());
    hasTimedOut_ = true;
    task->terminate();
}

}  // namespace quillmoor
