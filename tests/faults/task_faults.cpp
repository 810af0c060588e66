#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include "quillmoor/task/KXTaskEx.h"
#include "tests/children/child_tools.h"
#include "tests/faults/fault_loop.h"
#include "tests/faults/held_timeouts.h"
#include "tests/faults/kept_log.h"
#include "tests/faults/released_child.h"
#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {
namespace {

using namespace std::chrono_literals;

class SilentConsole : public ForwardingConsole {
  public:
    void log(std::string_view) override {}
    void print(std::string_view) override {}
    void putString(std::string_view) override {}
};

// Too long for a string without an allocation.
constexpr std::string_view kOutput = "what the tool writes to its output";

struct TaskWorld {
    TaskWorld() { platform->console = &console; }
    ~TaskWorld() {
        timeouts.end();
        releaseRunningChild();
    }

    SilentConsole console;
    ScopedPlatform platform;
    KeptLog log;
    HeldTimeouts timeouts{platform};  // after the log, whose thread is not one of them
    TempFolder folder;
    std::string file = folder / "made";
    OptionalPath touch = "/usr/bin/touch";
    OptionalPath print = childPath("print_streams");
    OptionalPath exits = childPath("exit_with");
    OptionalArguments touchArguments = StringList{file};
    OptionalArguments printArguments = StringList{std::string(kOutput), "err"};
    OptionalArguments exitArguments = StringList{"3"};
    OptionalEnvironment environment = Environment{{"A", "b"}};
    KXTaskEx::Timeout timeout = 1000s;
};

using Run = std::function<bool(TaskWorld&)>;

FaultScenario runs(std::string name, const std::string& operation, Throws throws, Run runTool) {
    return {std::move(name),
            {"KXTaskEx " + operation},
            [=](FaultRun& run) {
                TaskWorld world;
                bool hasRun = false;
                run.inject([&] { hasRun = runTool(world); });
                EXPECT_TRUE(hasRun || run.faulted());
                if (hasRun) {
                    EXPECT_TRUE(somethingAt(world.file));
                }
            },
            throws};
}

using Code = std::function<long(TaskWorld&)>;

FaultScenario code(std::string name, const std::string& operation, Code codeOf) {
    return {std::move(name),
            {"KXTaskEx " + operation},
            [=](FaultRun& run) {
                TaskWorld world;
                long status = 0;
                run.inject([&] { status = codeOf(world); });
                // Refused where the path could not be looked at.
                if (run.faulted() && status == -1) return;
                EXPECT_EQ(status, 3);
            },
            Throws::AndMemory};
}

using Output = std::function<OptionalString(TaskWorld&)>;

// All of the output, or none.
FaultScenario output(std::string name, const std::string& operation, Throws throws,
                     Output outputOf) {
    return {std::move(name),
            {"KXTaskEx " + operation},
            [=](FaultRun& run) {
                TaskWorld world;
                OptionalString text;
                run.inject([&] { text = outputOf(world); });
                if (run.faulted() && text.value_or("").empty()) return;
                EXPECT_EQ(text, kOutput);
            },
            throws};
}

OptionalString textOf(const std::optional<Data>& data) {
    const NotCounted notCounted;
    if (!data) return std::nullopt;
    return std::string(data->view());
}

std::vector<FaultScenario> runScenarios() {
    return {
        runs("RunTask", "runTask:arguments:", Throws::Nothing,
             [](TaskWorld& world) { return KXTaskEx::runTask(world.touch, world.touchArguments); }),
        runs("RunTaskWithReference", "runTask:arguments:task:", Throws::Nothing,
             [](TaskWorld& world) {
                 KXTaskEx::TaskReference task;
                 return KXTaskEx::runTask(world.touch, world.touchArguments, &task);
             }),
        runs("RunTaskWithTimeout", "runTask:arguments:timeout:", Throws::AndMemory,
             [](TaskWorld& world) {
                 KXTaskEx::runTask(world.touch, world.touchArguments, world.timeout);
                 return somethingAt(world.file);
             }),
        runs("RunTaskOnInstance", "runTaskOnInstance:arguments:timeout:", Throws::AndMemory,
             [](TaskWorld& world) {
                 KXTaskEx::create()->runTaskOnInstance(world.touch, world.touchArguments,
                                                       world.timeout);
                 return somethingAt(world.file);
             }),
        {"RunTaskAndReturn",
         {"KXTaskEx runTaskAndReturn:arguments:"},
         [](FaultRun& run) {
             TaskWorld world;
             run.inject([&] { KXTaskEx::runTaskAndReturn(world.touch, world.touchArguments); });
             if (!run.faulted()) {
                 EXPECT_TRUE(eventually([&] { return somethingAt(world.file); }));
             }
         },
         Throws::AndMemory},
        code("TerminationCode", "terminationCodeFromTask:arguments:",
             [](TaskWorld& world) {
                 return KXTaskEx::terminationCodeFromTask(world.exits, world.exitArguments);
             }),
        code("TerminationCodeWithReference", "terminationCodeFromTask:arguments:task:",
             [](TaskWorld& world) {
                 KXTaskEx::TaskReference task;
                 return KXTaskEx::terminationCodeFromTask(world.exits, world.exitArguments, &task);
             }),
        code("TerminationCodeWithTimeout", "terminationCodeFromTask:arguments:timeout:",
             [](TaskWorld& world) {
                 return KXTaskEx::terminationCodeFromTask(world.exits, world.exitArguments,
                                                          world.timeout);
             }),
        code("TerminationCodeOnInstance", "terminationCodeFromTaskOnInstance:arguments:timeout:",
             [](TaskWorld& world) {
                 return KXTaskEx::create()->terminationCodeFromTaskOnInstance(
                     world.exits, world.exitArguments, world.timeout);
             }),
    };
}

std::vector<FaultScenario> outputScenarios() {
    return {
        output("DataFromTask", "dataFromTask:arguments:task:", Throws::Nothing,
               [](TaskWorld& world) {
                   KXTaskEx::TaskReference task;
                   return textOf(KXTaskEx::dataFromTask(world.print, world.printArguments, &task));
               }),
        output("DataFromTaskWithEnvironment",
               "dataFromTask:arguments:task:environment:", Throws::Nothing,
               [](TaskWorld& world) {
                   return textOf(KXTaskEx::dataFromTask(world.print, world.printArguments, nullptr,
                                                        world.environment));
               }),
        output("DataFromTaskLogged",
               "dataFromTask:arguments:task:environment:logOutput:", Throws::Nothing,
               [](TaskWorld& world) {
                   return textOf(KXTaskEx::dataFromTask(world.print, world.printArguments, nullptr,
                                                        std::nullopt, LogOutput::Yes));
               }),
        output("DataFromTaskWithTimeout", "dataFromTask:arguments:timeout:", Throws::AndMemory,
               [](TaskWorld& world) {
                   return textOf(
                       KXTaskEx::dataFromTask(world.print, world.printArguments, world.timeout));
               }),
        output("DataFromTaskOnInstance",
               "dataFromTaskOnInstance:arguments:timeout:", Throws::AndMemory,
               [](TaskWorld& world) {
                   return textOf(KXTaskEx::create()->dataFromTaskOnInstance(
                       world.print, world.printArguments, world.timeout));
               }),
        output("StringFromTask", "stringFromTask:arguments:", Throws::AndMemory,
               [](TaskWorld& world) {
                   return KXTaskEx::stringFromTask(world.print, world.printArguments);
               }),
        output("StringFromTaskWithTimeout", "stringFromTask:arguments:timeout:", Throws::AndMemory,
               [](TaskWorld& world) {
                   return KXTaskEx::stringFromTask(world.print, world.printArguments,
                                                   world.timeout);
               }),
        output("StringFromTaskDecodedWithTimeout",
               "stringFromTask:arguments:encoding:timeout:", Throws::AndMemory,
               [](TaskWorld& world) {
                   return KXTaskEx::stringFromTask(world.print, world.printArguments,
                                                   StringEncoding::UTF8, world.timeout);
               }),
        output("StringFromTaskWithReference", "stringFromTask:arguments:task:", Throws::AndMemory,
               [](TaskWorld& world) {
                   return KXTaskEx::stringFromTask(world.print, world.printArguments, nullptr);
               }),
        output("StringFromTaskDecoded",
               "stringFromTask:arguments:encoding:task:", Throws::AndMemory,
               [](TaskWorld& world) {
                   return KXTaskEx::stringFromTask(world.print, world.printArguments,
                                                   StringEncoding::UTF8, nullptr);
               }),
    };
}

// What a run in the background hands over.
struct Heard {
    std::mutex mutex;
    std::string text;
    std::atomic<int> ends{0};

    KXTaskEx::Selector selector() {
        return [this](const Data& data, KXTaskEx&, const KXTaskEx::Object&) {
            const std::lock_guard lock(mutex);
            text += data.view();
            if (data.empty()) ++ends;
        };
    }
};

using Start = std::function<void(TaskWorld&, KXTaskEx&, KXTaskEx::Object, KXTaskEx::Selector)>;

FaultScenario background(std::string name, const std::string& operation, Start start) {
    return {std::move(name),
            {"KXTaskEx " + operation, "KXTaskEx terminateAsyncTask"},
            [=](FaultRun& run) {
                TaskWorld world;
                const auto heard = std::make_shared<Heard>();
                const auto runner = KXTaskEx::create();
                const KXTaskEx::Selector selector = heard->selector();
                const auto finish = [&] {
                    // The run's thread keeps the instance.
                    while (runner.use_count() > 1) std::this_thread::sleep_for(1ms);
                };
                try {
                    run.inject([&] {
                        start(world, *runner, heard, selector);
                        const NotCounted notCounted;
                        finish();
                    });
                } catch (...) {
                    finish();
                    runner->terminateAsyncTask();
                    throw;
                }
                runner->terminateAsyncTask();
                EXPECT_EQ(runner->theTask(), nullptr);
                // The end is reported only after all of the output.
                EXPECT_LE(heard->ends, 1);
                if (heard->ends == 1) {
                    EXPECT_EQ(heard->text, kOutput);
                }
                EXPECT_TRUE(heard->ends == 1 || run.faulted());
            },
            Throws::AndMemory};
}

std::vector<FaultScenario> backgroundScenarios() {
    return {
        background("AsyncData", "asyncDataFromTask:arguments:delegate:selector:object:",
                   [](TaskWorld& world, KXTaskEx& runner, KXTaskEx::Object heard,
                      KXTaskEx::Selector selector) {
                       runner.asyncDataFromTask(world.print, world.printArguments, std::move(heard),
                                                std::move(selector), nullptr);
                   }),
        background("AsyncDataWithEnvironment",
                   "asyncDataFromTask:arguments:delegate:selector:object:environment:",
                   [](TaskWorld& world, KXTaskEx& runner, KXTaskEx::Object heard,
                      KXTaskEx::Selector selector) {
                       runner.asyncDataFromTask(world.print, world.printArguments, std::move(heard),
                                                std::move(selector), nullptr, std::nullopt);
                   }),
        {"TaskInstance",
         {"KXTaskEx create", "KXTaskEx setupTimeout:", "KXTaskEx timeout",
          "KXTaskEx launchAsyncTask", "KXTaskEx asyncTaskReturnData:", "KXTaskEx theTask",
          "KXTaskEx setTheTask:"},
         [](FaultRun& run) {
             TaskWorld world;
             world.timeouts.end();
             run.inject([&] {
                 const auto runner = KXTaskEx::create();
                 runner->setTheTask(platform::current().tasks->makeTask());
                 runner->timeout();
                 runner->setupTimeout(0s);
                 EXPECT_NE(runner->theTask(), nullptr);
                 runner->asyncTaskReturnData({});
                 EXPECT_EQ(runner->theTask(), nullptr);
                 runner->launchAsyncTask();
             });
         },
         Throws::AndMemory},
    };
}

}  // namespace

std::vector<FaultScenario> taskScenarios() {
    std::vector<FaultScenario> all;
    for (const auto& part : {runScenarios, outputScenarios, backgroundScenarios})
        for (FaultScenario& scenario : part()) all.push_back(std::move(scenario));
    return all;
}

}  // namespace quillmoor::test
