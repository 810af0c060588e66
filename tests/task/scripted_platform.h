// Scripted children, pipes and checks that record every call.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tests/task/task_test.h"

namespace quillmoor::test {

// The steps, in order.
struct Journal {
    SharedList steps;
    // Appended to every step: the state of the test's own variables at that moment.
    std::function<std::string()> remark = [] { return std::string(); };

    void note(const std::string& step) { steps.add(step + remark()); }
};

// Returns its chunks one by one, and then the end. A chunk of "!" is an error.
class ScriptedHandle : public platform::FileHandle {
  public:
    ScriptedHandle(Journal& journal, std::string name, std::deque<std::string> chunks)
        : journal_(journal), name_(std::move(name)), chunks_(std::move(chunks)) {}

    const std::string& name() const { return name_; }

    void writeData(std::string_view) override { journal_.note("write " + name_); }
    std::uint64_t seekToEndOfFile() override {
        journal_.note("seek " + name_);
        return 0;
    }
    std::size_t readAvailableData(platform::ByteBuffer& buffer) override {
        journal_.note("read " + name_);
        if (chunks_.empty()) return 0;
        const std::string chunk = std::exchange(chunks_.front(), "");
        chunks_.pop_front();
        if (chunk == "!") throw platform::Exception("Name", "cannot read");
        std::copy(chunk.begin(), chunk.end(), buffer.reserveMore(chunk.size()));
        buffer.addFilled(chunk.size());
        return chunk.size();
    }
    void closeFile() override { journal_.note("close " + name_); }

  private:
    Journal& journal_;
    std::string name_;
    std::deque<std::string> chunks_;
};

// The first pipe made is named pipe1; its ends are called pipe1.reading and pipe1.writing.
class ScriptedHandles : public ForwardingFileHandles {
  public:
    explicit ScriptedHandles(Journal& journal) : journal_(journal) {}

    std::shared_ptr<platform::FileHandle> nullDevice() override { return end("null", {}); }
    platform::Pipe makePipe() override {
        const int number = ++pipes_;
        const std::string name = "pipe" + std::to_string(number);
        journal_.note("make " + name);
        return {end(name + ".reading", chunks[number]), end(name + ".writing", {})};
    }

    std::map<int, std::deque<std::string>> chunks;

  private:
    std::shared_ptr<platform::FileHandle> end(std::string name, std::deque<std::string> list) {
        return std::make_shared<ScriptedHandle>(journal_, std::move(name), std::move(list));
    }

    Journal& journal_;
    int pipes_ = 0;
};

// How a child behaves.
struct Script {
    bool runsAfterLaunch = true;
    int status = 0;
    // Called at the launch; may throw.
    std::function<void()> launch = [] {};
    // Called while the runner waits for the exit.
    std::function<void()> wait = [] {};
};

class ScriptedTask : public platform::Task {
  public:
    ScriptedTask(Journal& journal, const Script& script) : journal_(journal), script_(script) {}
    ~ScriptedTask() override { journal_.note("released"); }

    void setLaunchPath(std::string path) override {
        journal_.note("path " + path);
        path_ = std::move(path);
    }
    std::string launchPath() override { return path_; }
    StringList arguments() override { return {}; }
    OptionalEnvironment environment() override { return std::nullopt; }
    int processIdentifier() override { return 0; }
    void setArguments(StringList arguments) override {
        std::string step = "arguments";
        for (const std::string& argument : arguments) step += " '" + argument + "'";
        journal_.note(step);
    }
    void setEnvironment(Environment environment) override {
        std::string step = "environment";
        for (const auto& [name, value] : environment)
            step.append(" '" + name + "'='" + value + "'");
        journal_.note(step);
    }
    void setStandardInput(platform::Pipe pipe) override { note("input", pipe.reading); }
    void setStandardOutput(platform::Pipe pipe) override {
        note("output", pipe.writing);
        output_ = pipe.reading;
    }
    std::shared_ptr<platform::FileHandle> standardOutput() override { return output_; }
    void setStandardOutput(std::shared_ptr<platform::FileHandle> handle) override {
        note("output", handle);
    }
    void setStandardError(platform::Pipe pipe) override { note("error", pipe.writing); }
    void setStandardError(std::shared_ptr<platform::FileHandle> handle) override {
        note("error", handle);
    }
    void launch() override {
        journal_.note("launch");
        script_.launch();
        running_ = script_.runsAfterLaunch;
    }
    bool isRunning() override {
        journal_.note("running?");
        return running_;
    }
    void waitUntilExit() override {
        journal_.note("wait");
        script_.wait();
        running_ = false;
    }
    int terminationStatus() override {
        journal_.note("status");
        return script_.status;
    }
    void terminate() override { journal_.note("terminate"); }
    void interrupt() override { journal_.note("interrupt"); }

  private:
    void note(const std::string& stream, const std::shared_ptr<platform::FileHandle>& handle) {
        journal_.note(stream + " " + dynamic_cast<ScriptedHandle&>(*handle).name());
    }

    Journal& journal_;
    const Script& script_;
    std::string path_;
    bool running_ = false;
    std::shared_ptr<platform::FileHandle> output_;
};

class ScriptedTasks : public ForwardingTasks {
  public:
    explicit ScriptedTasks(Journal& journal) : journal_(journal) {}

    std::shared_ptr<platform::Task> makeTask() override {
        journal_.note("make task");
        return std::make_shared<ScriptedTask>(journal_, script);
    }

    Script script;

  private:
    Journal& journal_;
};

// Queries with scripted results, which may throw; each is recorded.
class ScriptedFileManager : public ForwardingFileManager {
  public:
    explicit ScriptedFileManager(Journal& journal) : journal_(journal) {}
    bool fileExists(const std::string&) override {
        journal_.note("exists?");
        meanwhile();
        return exists;
    }
    bool isExecutableFile(const std::string&) override {
        journal_.note("executable?");
        meanwhile();
        return executable;
    }

    bool exists = true;
    bool executable = true;
    std::function<void()> meanwhile = [] {};

  private:
    Journal& journal_;
};

class ScriptedApplications : public ForwardingApplications {
  public:
    explicit ScriptedApplications(Journal& journal) : journal_(journal) {}
    bool isFilePackage(const std::string&) override {
        journal_.note("package?");
        return package;
    }

    bool package = false;

  private:
    Journal& journal_;
};

class ScriptedTaskTest : public TaskTest {
  protected:
    ScriptedTaskTest() {
        platform_->tasks = &tasks_;
        platform_->fileHandles = &handles_;
        platform_->fileManager = &fileManager_;
        platform_->applications = &applications_;
    }

    StringList steps() const { return journal_.steps.all(); }
    // Without the queries of the launch check.
    StringList stepsOfTask() const {
        StringList result;
        for (const std::string& step : steps())
            if (!step.starts_with("exists?") && !step.starts_with("executable?") &&
                !step.starts_with("package?"))
                result.push_back(step);
        return result;
    }

    Journal journal_;
    ScriptedTasks tasks_{journal_};
    ScriptedHandles handles_{journal_};
    ScriptedFileManager fileManager_{journal_};
    ScriptedApplications applications_{journal_};
};

}  // namespace quillmoor::test
