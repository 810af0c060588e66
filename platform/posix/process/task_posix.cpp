#include "quillmoor/platform/task.h"

#include <memory>
#include <mutex>
#include <utility>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/process/child_posix.h"
#include "quillmoor/platform/posix/process/child_reaper_posix.h"
#include "quillmoor/platform/posix/process/child_system_posix.h"
#include "quillmoor/platform/posix/process/file_handle_posix.h"
#include "quillmoor/platform/posix/run_loop/main_thread_posix.h"

namespace quillmoor::platform {
namespace posix {
namespace {

// How often the main thread polls a child without an exit descriptor.
constexpr int kLookAgainMilliseconds = 10;

[[noreturn]] void throwInvalid(const char* reason) {
    throw Exception(kInvalidArgumentException, reason);
}

[[noreturn]] void throwNotAccessible() {
    throwInvalid("launch path not accessible");
}

// The stream that `handle` is in a child.
ChildStream streamOf(const std::shared_ptr<FileHandle>& handle) {
    if (handle == nullptr) return {};
    if (const auto* nullDevice = dynamic_cast<const NullDeviceHandle*>(handle.get()))
        if (!nullDevice->isClosed()) return {ChildStream::Kind::NullDevice, -1};
    const auto* open = dynamic_cast<const DescriptorHandle*>(handle.get());
    if (open == nullptr || open->descriptor() < 0) throwNotAccessible();
    return {ChildStream::Kind::Descriptor, open->descriptor()};
}

class PosixTask final : public Task {
  public:
    ~PosixTask() override {
        if (child_ != nullptr && child_->isRunning()) reapLater(std::move(child_));
    }

    void setLaunchPath(std::string path) override { setup_.path = std::move(path); }
    std::string launchPath() override { return setup_.path; }
    void setArguments(StringList arguments) override { setup_.arguments = std::move(arguments); }
    StringList arguments() override { return setup_.arguments; }
    void setEnvironment(Environment environment) override {
        setup_.environment = std::move(environment);
    }
    OptionalEnvironment environment() override { return setup_.environment; }

    void setStandardInput(Pipe pipe) override { input_ = std::move(pipe); }
    void setStandardOutput(Pipe pipe) override {
        output_ = {std::move(pipe.writing), true};
        outputForReading_ = std::move(pipe.reading);
    }
    void setStandardOutput(std::shared_ptr<FileHandle> handle) override {
        output_ = {std::move(handle), false};
        outputForReading_ = nullptr;
    }
    void setStandardError(Pipe pipe) override { error_ = {std::move(pipe.writing), true}; }
    void setStandardError(std::shared_ptr<FileHandle> handle) override {
        error_ = {std::move(handle), false};
    }

    std::shared_ptr<FileHandle> standardOutput() override { return outputForReading_; }

    void launch() override {
        // Held until child_ is set: another thread that sees the child's effects must not find
        // isRunning() false.
        const std::lock_guard lock(mutex_);
        if (child_ != nullptr) throwInvalid("task already launched");
        setup_.streams = {streamOf(input_.reading), streamOf(output_.handle),
                          streamOf(error_.handle)};
        // Output only: a tool that fills its error pipe blocks at the usual size of a pipe.
        if (output_.isPipe) enlargePipe(setup_.streams[1].descriptor);
        // A launch is a chance to collect children that no thread could be started for.
        reapLeftOver();
        child_ = Child::start(setup_);
        if (child_ == nullptr) throwNotAccessible();
        giveAway(output_);
        giveAway(error_);
    }

    bool isRunning() override {
        const auto launched = child();
        return launched != nullptr && launched->isRunning();
    }

    void waitUntilExit() override {
        const auto launched = launchedChild();
        if (!isMainThread()) return launched->wait();
        const int descriptor = launched->exitDescriptor();
        // A time-out terminates the tool from the main thread, which must therefore serve its queue
        // while it waits.
        do serveDefaultModeUntilReadable(descriptor, descriptor < 0 ? kLookAgainMilliseconds : -1);
        while (launched->isRunning());
    }

    int terminationStatus() override {
        const auto status = launchedChild()->status();
        if (!status) throwInvalid("task still running");
        return *status;
    }

    int processIdentifier() override {
        const auto launched = child();
        return launched != nullptr ? launched->processIdentifier() : 0;
    }

    void terminate() override { launchedChild()->terminate(); }
    void interrupt() override { launchedChild()->interrupt(); }

  private:
    struct Output {
        std::shared_ptr<FileHandle> handle;
        bool isPipe = false;  // the writing end is closed here after the launch
    };

    // Only the child may hold the writing end: while this process does, a reader never finds the
    // end of the stream.
    static void giveAway(Output& output) {
        if (output.isPipe) output.handle->closeFile();
        output = {};
    }

    std::shared_ptr<Child> child() {
        const std::lock_guard lock(mutex_);
        return child_;
    }
    std::shared_ptr<Child> launchedChild() {
        auto launched = child();
        if (launched == nullptr) throwInvalid("task not launched");
        return launched;
    }

    ChildSetup setup_;
    Pipe input_;
    Output output_;
    std::shared_ptr<FileHandle> outputForReading_;
    Output error_;

    std::mutex mutex_;  // of child_
    std::shared_ptr<Child> child_;
};

class PosixTasks final : public Tasks {
  public:
    std::shared_ptr<Task> makeTask() override { return std::make_shared<PosixTask>(); }
};

}  // namespace
}  // namespace posix

Tasks* nativeTasks() {
    static Tasks* const tasks = new posix::PosixTasks;
    return tasks;
}

}  // namespace quillmoor::platform
