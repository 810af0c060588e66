// KXTaskEx for another language, which has objects of its own for children and instances.
#pragma once

#include <functional>
#include <optional>
#include <utility>

#include "quillmoor/task/KXTaskEx.h"

namespace quillmoor::task_detail {

// Each as the operation of KXTaskEx with that name.
struct Bindings {
    // Called with the child where an operation with a task out-parameter stores it.
    using TaskSink = std::function<void(const KXTaskEx::TaskReference& task)>;

    static bool runTask(const OptionalPath& path, const OptionalArguments& arguments,
                        const TaskSink& store) {
        return KXTaskEx::run(path, arguments, store);
    }
    static long terminationCodeFromTask(const OptionalPath& path,
                                        const OptionalArguments& arguments, const TaskSink& store) {
        return KXTaskEx::terminationCode(path, arguments, store);
    }
    static std::optional<Data> dataFromTask(const OptionalPath& path,
                                            const OptionalArguments& arguments,
                                            const TaskSink& store,
                                            const OptionalEnvironment& environment,
                                            LogOutput logOutput) {
        return KXTaskEx::data(path, arguments, store, environment, logOutput);
    }
    static OptionalString stringFromTask(const OptionalPath& path,
                                         const OptionalArguments& arguments,
                                         StringEncoding encoding, const TaskSink& store) {
        return KXTaskEx::string(path, arguments, encoding, store);
    }

    // `instance`, which stands for `task` in that language, is kept until the run's thread ends.
    static void asyncDataFromTask(KXTaskEx& task, const OptionalPath& path,
                                  const OptionalArguments& arguments, KXTaskEx::Object delegate,
                                  KXTaskEx::Selector selector, KXTaskEx::Object object,
                                  const OptionalEnvironment& environment,
                                  KXTaskEx::Object instance) {
        task.startRun(path, arguments, std::move(delegate), std::move(selector), std::move(object),
                      environment, std::move(instance));
    }
};

}  // namespace quillmoor::task_detail
