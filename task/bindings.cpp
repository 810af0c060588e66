// Apart from the header: Objective-C++ cannot catch and rethrow exceptions of C++ on every system.
#include "quillmoor/task/bindings.h"

#include "quillmoor/base/operation.h"

namespace quillmoor::task_detail {

bool Bindings::runTask(const OptionalPath& path, const ArgumentSource& arguments,
                       const TaskSink& store) {
    return recorded({"+[KXTaskEx runTask:arguments:task:]", path},
                    [&] { return KXTaskEx::run(path, arguments, store); });
}

void Bindings::runTaskAndReturn(const OptionalPath& path, const ArgumentSource& arguments) {
    recorded({"+[KXTaskEx runTaskAndReturn:arguments:]", path},
             [&] { KXTaskEx::runAndReturn(path, arguments); });
}

long Bindings::terminationCodeFromTask(const OptionalPath& path, const ArgumentSource& arguments,
                                       const TaskSink& store) {
    return recorded({"+[KXTaskEx terminationCodeFromTask:arguments:task:]", path},
                    [&] { return KXTaskEx::terminationCode(path, arguments, store); });
}

std::optional<Data> Bindings::dataFromTask(const OptionalPath& path,
                                           const ArgumentSource& arguments, const TaskSink& store,
                                           const EnvironmentSource& environment,
                                           LogOutput logOutput) {
    const OperationCall call{"+[KXTaskEx dataFromTask:arguments:task:environment:logOutput:]",
                             path};
    return recorded(call,
                    [&] { return KXTaskEx::data(path, arguments, store, environment, logOutput); });
}

void Bindings::runTask(KXTaskEx& task, const OptionalPath& path, const ArgumentSource& arguments,
                       KXTaskEx::Timeout timeout) {
    recorded({"-[KXTaskEx runTask:arguments:timeout:]", path},
             [&] { task.runWithTimeout(path, arguments, timeout); });
}

std::optional<Data> Bindings::dataFromTask(KXTaskEx& task, const OptionalPath& path,
                                           const ArgumentSource& arguments,
                                           KXTaskEx::Timeout timeout) {
    return recorded({"-[KXTaskEx dataFromTask:arguments:timeout:]", path},
                    [&] { return task.dataWithTimeout(path, arguments, timeout); });
}

long Bindings::terminationCodeFromTask(KXTaskEx& task, const OptionalPath& path,
                                       const ArgumentSource& arguments, KXTaskEx::Timeout timeout) {
    return recorded({"-[KXTaskEx terminationCodeFromTask:arguments:timeout:]", path},
                    [&] { return task.terminationCodeWithTimeout(path, arguments, timeout); });
}

}  // namespace quillmoor::task_detail
