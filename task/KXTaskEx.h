// Command-line tools as child processes, run while the caller waits or in the background.
//
//   if (auto text = KXTaskEx::stringFromTask("/usr/bin/uname", StringList{"-r"})) …
//   long code = KXTaskEx::terminationCodeFromTask(tool, arguments, std::chrono::seconds(30));
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "quillmoor/base/data.h"
#include "quillmoor/base/failure.h"
#include "quillmoor/base/types.h"
#include "quillmoor/platform/task.h"
#include "quillmoor/platform/text.h"

namespace quillmoor {

using StringEncoding = platform::StringEncoding;

// Whether a tool's standard output is captured. Despite the name nothing is written to the log.
enum class LogOutput : bool {
    No,  // it is that of the program
    Yes
};

// The form in which a chunk of output is passed to asyncTaskReturnData.
inline constexpr char KXAsyncTaskDataNotification[] = "KXAsyncTaskDataNotification";
struct AsyncTaskNotification {
    std::string name;
    Data fileHandleNotificationDataItem;
};

namespace task_detail {
struct Bindings;
}

// Class operations may be called from any thread and block it until the tool has ended, except
// where they say otherwise.
//
// The tool is named by its path and is not searched for. Links are followed. A path that is
// missing, not executable or a package (an application, for example) is refused with "Error: %@ is
// not executable", and nothing is started. A tool's exit status other than 0 is not a failure; only
// the operations that return the status show it. KXFailure::last() is the reason of a failure.
//
// If a task out-parameter is given, the child is stored there before it starts, so that another
// thread can read it with std::atomic_load and terminate it. Release that reference when the
// operation has returned: while it is kept, the pipe of the child's standard input stays open, and
// a child that has ended by then is collected only when its state is queried.
//
// A time-out is in seconds, cut to whole ones. A tool that still runs after it is sent one SIGTERM;
// the operation then ends as it would have without it, and the time-out is reported by two messages
// only, one on the console and one in the log, and as the failure of the thread that waited. The
// termination is performed on the main thread, so it waits until that thread services its run loop.
// A time-out of less than a second terminates the tool at once if it runs already, and never if it
// does not. A tool that ignores SIGTERM is waited for. Throws platform::Exception, and starts
// nothing, when no thread can be started for the time-out. Each time-out has a thread, which sleeps
// to its end even if the tool ends earlier.
//
// For a lack of memory each operation throws std::bad_alloc, except runTask and dataFromTask
// without a time-out: for these it is a failure like any other.
class KXTaskEx : public std::enable_shared_from_this<KXTaskEx> {
  public:
    using Timeout = std::chrono::duration<double>;
    using TaskReference = std::shared_ptr<platform::Task>;

    // Discarding the output ----------------------------------------------------------------------
    // Standard output and error go to the null device, standard input is inherited.

    // `runTask:arguments:`: true when the tool was started and waited for, whatever its status. A
    // refused path is logged and printed; a failed start is logged.
    static bool runTask(const OptionalPath& path, const OptionalArguments& arguments);
    // `runTask:arguments:task:`
    static bool runTask(const OptionalPath& path, const OptionalArguments& arguments,
                        TaskReference* task);
    // `runTask:arguments:timeout:`
    static void runTask(const OptionalPath& path, const OptionalArguments& arguments,
                        Timeout timeout);

    // `runTaskAndReturn:arguments:`: starts the tool and returns at once; the tool is collected
    // when it ends. A refused path is reported on the console and in the log. Throws
    // platform::Exception when the tool cannot be started.
    static void runTaskAndReturn(const OptionalPath& path, const OptionalArguments& arguments);

    // `terminationCodeFromTask:arguments:`: the exit status; for a tool ended by a signal, the
    // signal's number; -1 when the path was refused, which is reported on the console and in the
    // log, or when the program ignores SIGCHLD. Throws platform::Exception when the tool cannot be
    // started.
    static long terminationCodeFromTask(const OptionalPath& path,
                                        const OptionalArguments& arguments);
    // `terminationCodeFromTask:arguments:task:`
    static long terminationCodeFromTask(const OptionalPath& path,
                                        const OptionalArguments& arguments, TaskReference* task);
    // `terminationCodeFromTask:arguments:timeout:`
    static long terminationCodeFromTask(const OptionalPath& path,
                                        const OptionalArguments& arguments, Timeout timeout);

    // Capturing the output -----------------------------------------------------------------------
    // These wait for the end of the tool's output, not for its exit: a grandchild that keeps the
    // output open keeps the caller waiting. Standard input is a pipe to which nothing is written,
    // so a tool that reads it blocks. Standard output is read to its end first: a tool that
    // meanwhile fills the pipe of its standard error blocks, and the caller with it. The whole
    // output is held in memory.

    // `dataFromTask:arguments:task:`: what the tool wrote to standard output; if that is nothing,
    // what it wrote to standard error; empty data if it wrote nothing at all. nil when the path was
    // refused, which is logged and printed, or when the tool could not be started or read, which is
    // reported on the console only.
    static std::optional<Data> dataFromTask(const OptionalPath& path,
                                            const OptionalArguments& arguments,
                                            TaskReference* task);
    // `dataFromTask:arguments:task:environment:`: the environment replaces the whole of the
    // program's own.
    static std::optional<Data> dataFromTask(const OptionalPath& path,
                                            const OptionalArguments& arguments, TaskReference* task,
                                            const OptionalEnvironment& environment);
    // `dataFromTask:arguments:task:environment:logOutput:`: standard error is captured in any case.
    static std::optional<Data> dataFromTask(const OptionalPath& path,
                                            const OptionalArguments& arguments, TaskReference* task,
                                            const OptionalEnvironment& environment,
                                            LogOutput logOutput);
    // `dataFromTask:arguments:timeout:`: called on the main thread, the tool is terminated only
    // after its output has ended, because reading services no run loop.
    static std::optional<Data> dataFromTask(const OptionalPath& path,
                                            const OptionalArguments& arguments, Timeout timeout);

    // The same output as text. "" when there is no data or no output; nil when the bytes are not
    // valid in the encoding, which is ASCII unless another is given.
    // `stringFromTask:arguments:`
    static OptionalString stringFromTask(const OptionalPath& path,
                                         const OptionalArguments& arguments);
    // `stringFromTask:arguments:timeout:`
    static OptionalString stringFromTask(const OptionalPath& path,
                                         const OptionalArguments& arguments, Timeout timeout);
    // `stringFromTask:arguments:encoding:timeout:`
    static OptionalString stringFromTask(const OptionalPath& path,
                                         const OptionalArguments& arguments,
                                         StringEncoding encoding, Timeout timeout);
    // `stringFromTask:arguments:task:`
    static OptionalString stringFromTask(const OptionalPath& path,
                                         const OptionalArguments& arguments, TaskReference* task);
    // `stringFromTask:arguments:encoding:task:`
    static OptionalString stringFromTask(const OptionalPath& path,
                                         const OptionalArguments& arguments,
                                         StringEncoding encoding, TaskReference* task);

    // One instance, for the forms with a time-out ------------------------------------------------
    // If an instance is used again while an earlier time-out still sleeps, that time-out terminates
    // the second tool if it runs then.

    // A new instance. The library keeps a reference until its time-outs and runs have ended.
    static std::shared_ptr<KXTaskEx> create();
    virtual ~KXTaskEx() = default;
    KXTaskEx(const KXTaskEx&) = delete;
    KXTaskEx& operator=(const KXTaskEx&) = delete;

    // `runTask:arguments:timeout:`
    void runTaskOnInstance(const OptionalPath& path, const OptionalArguments& arguments,
                           Timeout timeout);
    // `dataFromTask:arguments:timeout:`
    std::optional<Data> dataFromTaskOnInstance(const OptionalPath& path,
                                               const OptionalArguments& arguments, Timeout timeout);
    // `terminationCodeFromTask:arguments:timeout:`
    long terminationCodeFromTaskOnInstance(const OptionalPath& path,
                                           const OptionalArguments& arguments, Timeout timeout);

    // `setupTimeout:`: the body of the time-out's thread. Sleeps, not at all for zero and less,
    // then has the main thread call timeout() and waits until that has returned.
    virtual void setupTimeout(std::chrono::seconds seconds);

    // `timeout`: sends the tool of this instance one SIGTERM if it runs, and reports that. Called
    // on the main thread.
    virtual void timeout();

    // In the background --------------------------------------------------------------------------
    // One run at a time for each instance. Every operation may be called from any thread.

    // The delegate, or the caller's own object; kept while the run lasts.
    using Object = std::shared_ptr<void>;
    // The delegate's operation. Its arguments are a chunk of output, which is empty at the end, the
    // instance that ran the tool, and the caller's object or null. Called on the run's own thread,
    // never on the main thread, with nothing locked. The chunk may be kept.
    using Selector = std::function<void(const Data& data, KXTaskEx& task, const Object& object)>;

    // `asyncDataFromTask:arguments:delegate:selector:object:` and
    // `asyncDataFromTask:arguments:delegate:selector:object:environment:`: prepares a run, starts
    // its thread and returns. That thread starts the tool and passes each chunk of its output to
    // the delegate as it arrives; standard error is discarded, standard input inherited. After the
    // empty chunk the instance cleans up as terminateAsyncTask does, and may be used again. If the
    // delegate starts the next run inside that last call, it must call terminateAsyncTask before:
    // otherwise the clean-up ends the new run.
    //
    // Without a delegate or an operation the output is read and discarded. A tool that is missing
    // or not executable is reported in the log only. A tool that cannot be started, and anything
    // that the delegate throws, is reported as an exception. In these cases the delegate is not
    // called again, a running tool continues, and the delegate, operation and object are kept until
    // the next run or terminateAsyncTask.
    //
    // Throws platform::Exception when the process has no descriptors or threads left.
    void asyncDataFromTask(const OptionalPath& path, const OptionalArguments& arguments,
                           Object delegate, Selector selector, Object object);
    void asyncDataFromTask(const OptionalPath& path, const OptionalArguments& arguments,
                           Object delegate, Selector selector, Object object,
                           const OptionalEnvironment& environment);

    // `launchAsyncTask`: the body of the run's thread. Reports what is thrown in it.
    virtual void launchAsyncTask();

    // `asyncTaskReturnData:`: passes one chunk to the delegate, on the calling thread; after an
    // empty one it ends the run. What the delegate throws reaches the caller.
    virtual void asyncTaskReturnData(const AsyncTaskNotification& notification);

    // `terminateAsyncTask`: ends the run: stops the reading, releases the delegate, the object and
    // the operation in this order, and then sends the tool one SIGTERM if it runs. Does not wait
    // for the tool, nor for a call of the delegate that is in progress. Without a run it does
    // nothing.
    virtual void terminateAsyncTask();

    // `theTask`: the tool of this instance, null when there is none. May be called from any thread.
    TaskReference theTask() const;
    void setTheTask(TaskReference task);

  protected:
    // The virtual operations are those that the library calls itself: a class of another language
    // sends them to its own instances, of which it must call these implementations.
    KXTaskEx() = default;

    // What keeps the instance while threads call it.
    virtual Object reference() { return shared_from_this(); }

  private:
    friend struct task_detail::Bindings;

    // Stores the child at the moment when other threads may see it.
    using TaskSink = std::function<void(const TaskReference&)>;
    // Called where the child is configured, and may throw as configuring it does.
    using ArgumentSource = std::function<OptionalArguments()>;
    using EnvironmentSource = std::function<OptionalEnvironment()>;

    // Refer to what they are given.
    static ArgumentSource given(const OptionalArguments& arguments);
    static EnvironmentSource given(const OptionalEnvironment& environment);
    static TaskSink storeIn(TaskReference* task);
    TaskSink storeInField();
    void startTimeout(Timeout timeout);
    void noteIfTimedOut();

    static bool run(const OptionalPath& path, const ArgumentSource& arguments,
                    const TaskSink& store);
    static void runAndReturn(const OptionalPath& path, const ArgumentSource& arguments);
    static long terminationCode(const OptionalPath& path, const ArgumentSource& arguments,
                                const TaskSink& store);
    static std::optional<Data> data(const OptionalPath& path, const ArgumentSource& arguments,
                                    const TaskSink& store, const EnvironmentSource& environment,
                                    LogOutput logOutput);

    void runWithTimeout(const OptionalPath& path, const ArgumentSource& arguments, Timeout timeout);
    std::optional<Data> dataWithTimeout(const OptionalPath& path, const ArgumentSource& arguments,
                                        Timeout timeout);
    long terminationCodeWithTimeout(const OptionalPath& path, const ArgumentSource& arguments,
                                    Timeout timeout);

    // The number of terminations before a run was prepared. A termination ends all runs that were
    // prepared before it: a run is over when the number has changed.
    using Run = std::uint64_t;
    class HandedOver;

    // What receives output in the background.
    struct Listener {
        Object delegate;
        Selector selector;
        Object object;
    };
    Listener listener(Run run) const;
    void exchangeListener(Listener& listener);
    Run prepare(Listener& listener, const TaskReference& task);
    void read(Run run);
    bool launchTheTask(Run run);
    TaskReference taskOf(Run run) const;
    bool returnNextChunk(Run run);
    void returnData(const AsyncTaskNotification& notification, Run run);
    void terminate(std::optional<Run> run);

    mutable std::mutex mutex_;  // guards the next two fields, not what they refer to
    TaskReference theTask_;
    Listener listener_;
    std::mutex launchMutex_;  // a launch and a termination exclude each other
    std::atomic<Run> terminations_{0};
    std::atomic<bool> hasTimedOut_{false};  // a time-out has terminated the tool
};

}  // namespace quillmoor
