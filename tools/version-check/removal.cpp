#include "tools/version-check/removal.h"

#include <algorithm>
#include <atomic>
#include <string_view>
#include <thread>
#include <utility>

#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/pane/installed_product.h"
#include "quillmoor/platform/main_run_loop.h"
#include "quillmoor/platform/platform.h"
#include "tools/version-check/private_folder.h"

namespace quillmoor::version_check {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

// For what is still in the pipe when the uninstaller has ended.
constexpr auto kLastOutput = 2s;
constexpr auto kPollInterval = 20ms;

// Returns nil if the archive has no uninstaller.
OptionalPath unpackInto(const PrivateFolder& folder, const std::string& archive) {
    // A new name: the archiving tool moves what is at its destination to the Trash.
    std::string application = unpackUninstaller(archive, folder.path() + "/uninstaller");
    if (!KXFileManager::isDirectoryAtPath(application)) return std::nullopt;
    return application;
}

// Directly after an unpacking that has failed.
Removal notUnpacked() {
    const auto failure = KXFailure::last();
    return {RemovalOutcome::NotUnpacked, std::nullopt,
            failure ? OptionalString(failure->description) : std::nullopt};
}

// The program of the unpacked application, for the system that it was built for. Whether it can be
// run shows when it is: a file system may forbid it to all programs.
OptionalPath programOf(const std::string& application) {
    const platform::Platform& system = platform::current();
    const std::string contents = *appendPathComponent(application, "Contents");
    const auto info = system.propertyLists->dictionaryWithContentsOfFile(contents + "/Info.plist");
    if (!info || !info->contains("CFBundleExecutable")) return std::nullopt;
    const OptionalString name = info->at("CFBundleExecutable").text();
    // As where applications are opened: a name must not lead out of the folder.
    if (!name || name->empty() || name->find('/') != std::string::npos) return std::nullopt;
    for (const char* folder : {"/Linux/", "/MacOS/"}) {
        const std::string program = contents + folder + *name;
        if (system.fileManager->fileExists(program)) return program;
    }
    return std::nullopt;
}

// Serves the run loop until the condition holds. Returns false if it does not in time, or is given
// up.
bool serveUntil(const std::function<bool()>& condition, steady_clock::time_point deadline,
                const std::function<bool()>& isGivenUp) {
    while (!condition()) {
        const auto now = steady_clock::now();
        if (now >= deadline || isGivenUp()) return false;
        platform::MainRunLoop::run(
            platform::RunLoopMode::Default,
            std::min<steady_clock::time_point>(deadline, now + kPollInterval));
    }
    return true;
}

bool never() {
    return false;
}

// Passes on the lines of a stream, on a thread of its own.
class LineReader {
  public:
    LineReader(std::shared_ptr<platform::FileHandle> stream, const LineSink& sink)
        : stream_(std::move(stream)), sink_(sink), thread_([this] { read(); }) {}
    // Ends a reading that is not at its end.
    ~LineReader() {
        stream_->closeFile();
        thread_.join();
    }
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    bool isAtEnd() const { return isAtEnd_; }

  private:
    void read() {
        try {
            for (platform::ByteBuffer buffer; stream_->readAvailableData(buffer) != 0;)
                take(buffer.takeData().view());
        } catch (const platform::Exception&) {
            // Closed by the destructor.
        }
        if (!pending_.empty()) sink_(pending_);
        isAtEnd_ = true;
    }

    void take(std::string_view bytes) {
        pending_ += bytes;
        for (std::size_t end = 0; (end = pending_.find('\n')) != std::string::npos;) {
            sink_(pending_.substr(0, end));
            pending_.erase(0, end + 1);
        }
    }

    std::shared_ptr<platform::FileHandle> stream_;
    const LineSink& sink_;
    std::string pending_;
    std::atomic<bool> isAtEnd_{false};
    std::thread thread_;  // the last member: it uses the others
};

RemovalOutcome outcomeOf(platform::Task& task, const Patience& patience,
                         steady_clock::time_point deadline) {
    const auto hasEnded = [&] { return !task.isRunning(); };
    if (serveUntil(hasEnded, deadline, patience.isInterrupted)) {
        const bool isGone = task.terminationStatus() == 0 && !installedProduct();
        return isGone ? RemovalOutcome::Removed : RemovalOutcome::Left;
    }
    const RemovalOutcome outcome =
        patience.isInterrupted() ? RemovalOutcome::Interrupted : RemovalOutcome::TimedOut;
    task.terminate();
    serveUntil(hasEnded, steady_clock::now() + patience.grace, never);
    return outcome;
}

RemovalOutcome run(platform::Task& task, const Patience& patience,
                   steady_clock::time_point deadline, const LineSink& sink) {
    const LineReader reader(task.standardOutput(), sink);
    const RemovalOutcome outcome = outcomeOf(task, patience, deadline);
    // A process that the uninstaller has started may keep the stream open.
    serveUntil([&] { return reader.isAtEnd(); }, steady_clock::now() + kLastOutput, never);
    return outcome;
}

// A child begins with the usual handling of all signals, so a shell has it ignore some again.
void setProgram(platform::Task& task, const std::string& program,
                const std::string& ignoredSignals) {
    if (ignoredSignals.empty()) {
        task.setLaunchPath(program);
        task.setArguments({"--unattended"});
        return;
    }
    task.setLaunchPath("/bin/sh");
    task.setArguments(
        {"-c", "trap '' " + ignoredSignals + "; exec \"$0\" \"$@\"", program, "--unattended"});
}

}  // namespace

Removal openUninstaller(const std::string& archive, const std::function<bool()>& isInterrupted) {
    PrivateFolder folder;
    const OptionalPath uninstaller = unpackInto(folder, archive);
    if (isInterrupted()) return {RemovalOutcome::Interrupted, std::nullopt};
    if (!uninstaller) return notUnpacked();
    if (!platform::current().applications->openFile(*uninstaller))
        return {RemovalOutcome::NotStarted, std::nullopt};
    folder.keep();
    return {RemovalOutcome::Opened, uninstaller};
}

Removal runUninstaller(const std::string& archive, const Patience& patience, const LineSink& sink) {
    const platform::Platform& system = platform::current();
    const auto deadline = steady_clock::now() + patience.timeout;
    PrivateFolder folder;
    const OptionalPath uninstaller = unpackInto(folder, archive);
    if (patience.isInterrupted()) return {RemovalOutcome::Interrupted, std::nullopt};
    const OptionalPath program = uninstaller ? programOf(*uninstaller) : std::nullopt;
    if (!program) return notUnpacked();

    const auto task = system.tasks->makeTask();
    setProgram(*task, *program, patience.ignoredSignals);
    task->setStandardOutput(system.fileHandles->makePipe());
    try {
        task->launch();
    } catch (const platform::Exception& exception) {
        return {RemovalOutcome::NotStarted, std::nullopt, exception.reason()};
    }
    const RemovalOutcome outcome = run(*task, patience, deadline, sink);
    if (!task->isRunning()) return {outcome, std::nullopt};
    folder.keep();
    return {outcome, uninstaller};
}

}  // namespace quillmoor::version_check
