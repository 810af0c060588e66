#include "quillmoor/task/KXTaskEx.h"

#include <memory>
#include <utility>

#include "quillmoor/base/format.h"
#include "quillmoor/base/operation.h"
#include "quillmoor/log/KXLog.h"
#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/task/launch_check.h"
#include "quillmoor/task/task_messages.h"

namespace quillmoor {
namespace {

constexpr long kNoStatus = -1;

void reportRefusal(const OptionalPath& path) {
    noteFailure(KXFailure::Reason::NotExecutable, path);
    platform::current().console->log(formatted(task_detail::kNotExecutable, path));
    KXLog::appendLog(task_detail::kNotExecutable, path);
}

// Standard input is inherited, output and error are discarded.
void configure(platform::Task& task, const OptionalPath& path, OptionalArguments arguments) {
    platform::FileHandles& handles = *platform::current().fileHandles;
    task.setLaunchPath(*path);
    if (arguments) task.setArguments(*std::move(arguments));
    task.setStandardError(handles.nullDevice());
    task.setStandardOutput(handles.nullDevice());
}

// On the main thread events may be handled meanwhile.
void waitUntilExit(platform::Task& task) {
    const OutsideOperations handlers;
    task.waitUntilExit();
}

}  // namespace

bool KXTaskEx::run(const OptionalPath& path, const ArgumentSource& arguments,
                   const TaskSink& store) {
    if (!task_detail::isLaunchable(path)) {
        KXLog::appendLogAndPrint(task_detail::kNotExecutable, path);
        return noteFailure(KXFailure::Reason::NotExecutable, path);
    }
    try {
        const TaskReference task = platform::current().tasks->makeTask();
        // Before it is configured, unlike in terminationCode. Kept for compatibility.
        store(task);
        configure(*task, path, arguments());
        task->launch();
        waitUntilExit(*task);
        return true;
    } catch (const std::exception& exception) {
        noteFailure(exception);
        KXLog::appendLog(task_detail::kExceptionRunningTask, path, std::string(exception.what()));
        return false;
    }
}

long KXTaskEx::terminationCode(const OptionalPath& path, const ArgumentSource& arguments,
                               const TaskSink& store) {
    if (!task_detail::isLaunchable(path)) {
        reportRefusal(path);
        return kNoStatus;
    }
    const TaskReference task = platform::current().tasks->makeTask();
    configure(*task, path, arguments());
    // Just before the launch, unlike in run. Kept for compatibility.
    store(task);
    task->launch();
    if (task->isRunning()) waitUntilExit(*task);
    const long status = task->terminationStatus();
    if (status == kNoStatus) noteFailure(Error{0, "the system has discarded the exit status"});
    return status;
}

bool KXTaskEx::runTask(const OptionalPath& path, const OptionalArguments& arguments) {
    return recorded({"+[KXTaskEx runTask:arguments:]", path},
                    [&] { return runTask(path, arguments, nullptr); });
}

bool KXTaskEx::runTask(const OptionalPath& path, const OptionalArguments& arguments,
                       TaskReference* task) {
    return recorded({"+[KXTaskEx runTask:arguments:task:]", path},
                    [&] { return run(path, given(arguments), storeIn(task)); });
}

void KXTaskEx::runTaskAndReturn(const OptionalPath& path, const OptionalArguments& arguments) {
    recorded({"+[KXTaskEx runTaskAndReturn:arguments:]", path},
             [&] { runAndReturn(path, given(arguments)); });
}

void KXTaskEx::runAndReturn(const OptionalPath& path, const ArgumentSource& arguments) {
    if (!task_detail::isLaunchable(path)) return reportRefusal(path);
    // Released while the child runs: the platform collects the child when it ends.
    const TaskReference task = platform::current().tasks->makeTask();
    configure(*task, path, arguments());
    task->launch();
}

long KXTaskEx::terminationCodeFromTask(const OptionalPath& path,
                                       const OptionalArguments& arguments) {
    return recorded({"+[KXTaskEx terminationCodeFromTask:arguments:]", path},
                    [&] { return terminationCodeFromTask(path, arguments, nullptr); });
}

long KXTaskEx::terminationCodeFromTask(const OptionalPath& path, const OptionalArguments& arguments,
                                       TaskReference* task) {
    return recorded({"+[KXTaskEx terminationCodeFromTask:arguments:task:]", path},
                    [&] { return terminationCode(path, given(arguments), storeIn(task)); });
}

KXTaskEx::ArgumentSource KXTaskEx::given(const OptionalArguments& arguments) {
    return [&arguments] { return arguments; };
}

KXTaskEx::EnvironmentSource KXTaskEx::given(const OptionalEnvironment& environment) {
    return [&environment] { return environment; };
}

KXTaskEx::TaskSink KXTaskEx::storeIn(TaskReference* task) {
    return [task](const TaskReference& made) {
        if (task != nullptr) std::atomic_store(task, made);
    };
}

KXTaskEx::TaskReference KXTaskEx::theTask() const {
    const std::lock_guard lock(mutex_);
    return theTask_;
}

void KXTaskEx::setTheTask(TaskReference task) {
    {
        const std::lock_guard lock(mutex_);
        std::swap(theTask_, task);
    }
    // The old one is released here, after the lock: its destructor may have to collect a child.
}

}  // namespace quillmoor
