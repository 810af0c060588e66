// KXTaskEx for another language, which has objects of its own for children, lists and instances.
#pragma once

#include <functional>
#include <optional>

#include "quillmoor/task/KXTaskEx.h"

namespace quillmoor::task_detail {

// Each as the operation of KXTaskEx with that name; with a time-out as that of the instance.
struct Bindings {
    // Called with the child where an operation with a task out-parameter stores it.
    using TaskSink = std::function<void(const KXTaskEx::TaskReference& task)>;
    // Called where the child is configured. An exception is reported as one of the launch.
    using ArgumentSource = std::function<OptionalArguments()>;
    using EnvironmentSource = std::function<OptionalEnvironment()>;

    static bool runTask(const OptionalPath& path, const ArgumentSource& arguments,
                        const TaskSink& store);
    static void runTaskAndReturn(const OptionalPath& path, const ArgumentSource& arguments);
    static long terminationCodeFromTask(const OptionalPath& path, const ArgumentSource& arguments,
                                        const TaskSink& store);
    static std::optional<Data> dataFromTask(const OptionalPath& path,
                                            const ArgumentSource& arguments, const TaskSink& store,
                                            const EnvironmentSource& environment,
                                            LogOutput logOutput);

    static void runTask(KXTaskEx& task, const OptionalPath& path, const ArgumentSource& arguments,
                        KXTaskEx::Timeout timeout);
    static std::optional<Data> dataFromTask(KXTaskEx& task, const OptionalPath& path,
                                            const ArgumentSource& arguments,
                                            KXTaskEx::Timeout timeout);
    static long terminationCodeFromTask(KXTaskEx& task, const OptionalPath& path,
                                        const ArgumentSource& arguments, KXTaskEx::Timeout timeout);
};

}  // namespace quillmoor::task_detail
