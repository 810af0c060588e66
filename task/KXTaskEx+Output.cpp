#include <utility>

#include "quillmoor/base/format.h"
#include "quillmoor/base/operation.h"
#include "quillmoor/log/KXLog.h"
#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/task/KXTaskEx.h"
#include "quillmoor/task/launch_check.h"
#include "quillmoor/task/task_messages.h"

namespace quillmoor {
namespace {

using platform::ByteBuffer;

struct Output {
    ByteBuffer output;
    ByteBuffer error;
};

// Reads standard output to its end first, and only then standard error, until its end. Kept for
// compatibility: a tool that fills its standard error meanwhile blocks.
void readOutput(Output& read, platform::FileHandle* output, platform::FileHandle& error) {
    for (;;) {
        if (output != nullptr && output->readAvailableData(read.output) != 0) continue;
        if (error.readAvailableData(read.error) == 0) return;
    }
}

// Standard error only if there is no output at all. Kept for compatibility.
Data chosen(Output read) {
    return read.output.empty() ? read.error.takeData() : read.output.takeData();
}

// "" for no data, nil for bytes that are not valid in the encoding.
OptionalString decoded(const std::optional<Data>& data, StringEncoding encoding) {
    if (!data) return "";
    OptionalString text = platform::current().text->decode(data->view(), encoding);
    // A tool that was terminated may have been in the middle of a character.
    if (!text && !hasNotedFailure())
        noteFailure(Error{0, "the output is not valid in the encoding"});
    return text;
}

// On the console only, unlike the same text in runTask. Without memory for it nothing is reported.
void reportException(const OptionalPath& path, const std::exception& exception) noexcept {
    try {
        platform::current().console->log(
            formatted(task_detail::kExceptionRunningTask, path, std::string(exception.what())));
    } catch (const std::exception&) {
    }
}

}  // namespace

std::optional<Data> KXTaskEx::data(const OptionalPath& path, const ArgumentSource& arguments,
                                   const TaskSink& store, const EnvironmentSource& environment,
                                   LogOutput logOutput) {
    const platform::Platform& system = platform::current();
    try {
        if (!task_detail::existsAndIsLaunchable(path)) {
            KXLog::appendLogAndPrint(task_detail::kNotExecutable, path);
            noteFailure(KXFailure::Reason::NotExecutable, path);
            return std::nullopt;
        }
        const TaskReference task = system.tasks->makeTask();
        const platform::Pipe output = system.fileHandles->makePipe();
        const platform::Pipe error = system.fileHandles->makePipe();
        // Before it is configured: a time-out may already look for it, and finds that it does not
        // run.
        store(task);
        task->setLaunchPath(*path);
        task->setArguments(arguments().value_or(StringList()));
        if (auto variables = environment()) task->setEnvironment(*std::move(variables));
        const bool captured = logOutput == LogOutput::Yes;
        if (captured) task->setStandardOutput(output);
        // Not the null device: a tool that reads its input must block. Kept for compatibility.
        task->setStandardInput(system.fileHandles->makePipe());
        task->setStandardError(error);

        Output read;
        task->launch();
        readOutput(read, captured ? output.reading.get() : nullptr, *error.reading);
        // Not waited for: a tool that closes its output and runs on does not hold up the caller.
        error.reading->closeFile();
        output.reading->closeFile();
        return chosen(std::move(read));
    } catch (const std::exception& exception) {
        noteFailure(exception);
        reportException(path, exception);
        return std::nullopt;
    }
}

std::optional<Data> KXTaskEx::dataFromTask(const OptionalPath& path,
                                           const OptionalArguments& arguments,
                                           TaskReference* task) {
    return recorded({"+[KXTaskEx dataFromTask:arguments:task:]", path},
                    [&] { return dataFromTask(path, arguments, task, std::nullopt); });
}

std::optional<Data> KXTaskEx::dataFromTask(const OptionalPath& path,
                                           const OptionalArguments& arguments, TaskReference* task,
                                           const OptionalEnvironment& environment) {
    return recorded({"+[KXTaskEx dataFromTask:arguments:task:environment:]", path}, [&] {
        return dataFromTask(path, arguments, task, environment, LogOutput::Yes);
    });
}

std::optional<Data> KXTaskEx::dataFromTask(const OptionalPath& path,
                                           const OptionalArguments& arguments, TaskReference* task,
                                           const OptionalEnvironment& environment,
                                           LogOutput logOutput) {
    return recorded({"+[KXTaskEx dataFromTask:arguments:task:environment:logOutput:]", path}, [&] {
        return data(path, given(arguments), storeIn(task), given(environment), logOutput);
    });
}

OptionalString KXTaskEx::stringFromTask(const OptionalPath& path,
                                        const OptionalArguments& arguments) {
    return recorded({"+[KXTaskEx stringFromTask:arguments:]", path},
                    [&] { return stringFromTask(path, arguments, nullptr); });
}

OptionalString KXTaskEx::stringFromTask(const OptionalPath& path,
                                        const OptionalArguments& arguments, Timeout timeout) {
    return recorded({"+[KXTaskEx stringFromTask:arguments:timeout:]", path}, [&] {
        return stringFromTask(path, arguments, StringEncoding::ASCII, timeout);
    });
}

OptionalString KXTaskEx::stringFromTask(const OptionalPath& path,
                                        const OptionalArguments& arguments, StringEncoding encoding,
                                        Timeout timeout) {
    return recorded({"+[KXTaskEx stringFromTask:arguments:encoding:timeout:]", path},
                    [&] { return decoded(dataFromTask(path, arguments, timeout), encoding); });
}

OptionalString KXTaskEx::stringFromTask(const OptionalPath& path,
                                        const OptionalArguments& arguments, TaskReference* task) {
    return recorded({"+[KXTaskEx stringFromTask:arguments:task:]", path},
                    [&] { return stringFromTask(path, arguments, StringEncoding::ASCII, task); });
}

OptionalString KXTaskEx::stringFromTask(const OptionalPath& path,
                                        const OptionalArguments& arguments, StringEncoding encoding,
                                        TaskReference* task) {
    return recorded({"+[KXTaskEx stringFromTask:arguments:encoding:task:]", path},
                    [&] { return decoded(dataFromTask(path, arguments, task), encoding); });
}

}  // namespace quillmoor
