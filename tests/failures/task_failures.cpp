#include "quillmoor/task/KXTaskEx.h"

#include "tests/failures/failure_scenarios.h"

namespace quillmoor::test {
namespace {

using namespace std::chrono_literals;
using Reason = KXFailure::Reason;
using Call = std::function<void(const std::string& tool)>;

// Of a tool that does not exist.
FailureScenario missingTool(const std::string& operation, const Call& call) {
    return {"KXTaskEx " + operation, [call](RefusingWorld& world) { call(world.missing); },
            Reason::NotExecutable, theMissing};
}

FailureScenario throwing(const std::string& operation, const Call& call,
                         std::function<OptionalPath(RefusingWorld&)> path = theFile) {
    return {"KXTaskEx " + operation,
            [call](RefusingWorld& world) {
                world.refuseThreads();
                EXPECT_THROW(call(world.file), platform::Exception);
            },
            Reason::Exception, std::move(path)};
}

std::vector<FailureScenario> waiting() {
    return {
        missingTool("runTask:arguments:", [](auto& tool) { KXTaskEx::runTask(tool, {}); }),
        missingTool("runTask:arguments:task:",
                    [](auto& tool) { KXTaskEx::runTask(tool, {}, nullptr); }),
        missingTool("runTask:arguments:timeout:",
                    [](auto& tool) { KXTaskEx::runTask(tool, {}, 1s); }),
        missingTool("runTaskOnInstance:arguments:timeout:",
                    [](auto& tool) { KXTaskEx::create()->runTaskOnInstance(tool, {}, 1s); }),
        missingTool("runTaskAndReturn:arguments:",
                    [](auto& tool) { KXTaskEx::runTaskAndReturn(tool, {}); }),
        missingTool("terminationCodeFromTask:arguments:",
                    [](auto& tool) { KXTaskEx::terminationCodeFromTask(tool, {}); }),
        missingTool("terminationCodeFromTask:arguments:task:",
                    [](auto& tool) { KXTaskEx::terminationCodeFromTask(tool, {}, nullptr); }),
        missingTool("terminationCodeFromTask:arguments:timeout:",
                    [](auto& tool) { KXTaskEx::terminationCodeFromTask(tool, {}, 1s); }),
        missingTool("terminationCodeFromTaskOnInstance:arguments:timeout:",
                    [](auto& tool) {
                        KXTaskEx::create()->terminationCodeFromTaskOnInstance(tool, {}, 1s);
                    }),
    };
}

std::vector<FailureScenario> capturing() {
    constexpr auto kUtf8 = StringEncoding::UTF8;
    return {
        missingTool("dataFromTask:arguments:task:",
                    [](auto& tool) { KXTaskEx::dataFromTask(tool, {}, nullptr); }),
        missingTool("dataFromTask:arguments:task:environment:",
                    [](auto& tool) { KXTaskEx::dataFromTask(tool, {}, nullptr, std::nullopt); }),
        missingTool("dataFromTask:arguments:task:environment:logOutput:",
                    [](auto& tool) {
                        KXTaskEx::dataFromTask(tool, {}, nullptr, std::nullopt, LogOutput::No);
                    }),
        missingTool("dataFromTask:arguments:timeout:",
                    [](auto& tool) { KXTaskEx::dataFromTask(tool, {}, 1s); }),
        missingTool("dataFromTaskOnInstance:arguments:timeout:",
                    [](auto& tool) { KXTaskEx::create()->dataFromTaskOnInstance(tool, {}, 1s); }),
        missingTool("stringFromTask:arguments:",
                    [](auto& tool) { KXTaskEx::stringFromTask(tool, {}); }),
        missingTool("stringFromTask:arguments:timeout:",
                    [](auto& tool) { KXTaskEx::stringFromTask(tool, {}, 1s); }),
        missingTool("stringFromTask:arguments:encoding:timeout:",
                    [](auto& tool) { KXTaskEx::stringFromTask(tool, {}, kUtf8, 1s); }),
        missingTool("stringFromTask:arguments:task:",
                    [](auto& tool) { KXTaskEx::stringFromTask(tool, {}, nullptr); }),
        missingTool("stringFromTask:arguments:encoding:task:",
                    [](auto& tool) { KXTaskEx::stringFromTask(tool, {}, kUtf8, nullptr); }),
    };
}

std::vector<FailureScenario> inTheBackground() {
    return {
        throwing("asyncDataFromTask:arguments:delegate:selector:object:",
                 [](auto& tool) {
                     KXTaskEx::create()->asyncDataFromTask(tool, {}, nullptr, {}, nullptr);
                 }),
        throwing("asyncDataFromTask:arguments:delegate:selector:object:environment:",
                 [](auto& tool) {
                     KXTaskEx::create()->asyncDataFromTask(tool, {}, nullptr, {}, nullptr,
                                                           std::nullopt);
                 }),
        {"KXTaskEx launchAsyncTask", [](auto&) { KXTaskEx::create()->launchAsyncTask(); },
         Reason::MissingArgument, noPath},
        {"KXTaskEx asyncTaskReturnData:",
         [](auto& world) {
             const auto runner = KXTaskEx::create();
             // The run itself is never started.
             world.refuseThreads();
             EXPECT_THROW(runner->asyncDataFromTask(
                              world.file, {}, std::make_shared<int>(),
                              [](const Data&, KXTaskEx&, const KXTaskEx::Object&) {
                                  throw platform::Exception("Name", "of the delegate");
                              },
                              nullptr),
                          platform::Exception);
             EXPECT_THROW(runner->asyncTaskReturnData({KXAsyncTaskDataNotification, Data("chunk")}),
                          platform::Exception);
         },
         Reason::Exception, noPath},
    };
}

}  // namespace

std::vector<FailureScenario> taskFailures() {
    std::vector<FailureScenario> all;
    for (const auto& part : {waiting, capturing, inTheBackground}) {
        const std::vector<FailureScenario> scenarios = part();
        all.insert(all.end(), scenarios.begin(), scenarios.end());
    }
    return all;
}

}  // namespace quillmoor::test
