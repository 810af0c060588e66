// A program that logs in a given mode: log_program MODE FOLDER [COUNT]. FOLDER replaces the user's
// home. The tests examine the files after it has ended.
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iterator>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "quillmoor/auth/KXAuthorization.h"
#include "quillmoor/log/KXLog.h"
#include "quillmoor/platform/exception.h"
#include "quillmoor/task/KXTaskEx.h"
#include "tests/support/forwarding.h"

using quillmoor::KXLog;

namespace {

// Keeps the generations that the log removes.
class KeepingFiles : public quillmoor::test::ForwardingFileManager {
  public:
    explicit KeepingFiles(std::string folder) : folder_(std::move(folder)) {}
    quillmoor::Outcome removeItem(const std::string& path) override {
        return moveItem(path, folder_ + "/" + std::to_string(++kept_) + ".log");
    }

  private:
    std::string folder_;
    int kept_ = 0;
};

void writeLines(int count) {
    for (int i = 0; i < count; ++i) KXLog::fastAppendLog("line %d", i);
}

void logFromThreads(int threads, int lines) {
    std::vector<std::thread> all;
    for (int t = 0; t < threads; ++t)
        all.emplace_back([t, lines] {
            for (int i = 0; i < lines; ++i)
                KXLog::fastAppendLog("thread %d line %d: some words to make it longer", t, i);
        });
    for (std::thread& thread : all) thread.join();
    KXLog::finishWriting();
}

// A test that would never end is ended by this signal.
constexpr unsigned kSecondsUntilAlarm = 100;

[[noreturn]] void dieOf(const std::string& what) {
    if (what == "platform")
        throw quillmoor::platform::Exception("Bad", "dying of a platform exception");
    if (what == "standard") throw std::runtime_error("dying of a standard exception");
    if (what == "other") throw 42;
    std::terminate();
}

std::atomic<bool> isForkedChild{false};

// The child has no worker: it must neither hang nor write.
int forkAndLog() {
    writeLines(3);
    const pid_t child = ::fork();
    if (child == 0) {
        isForkedChild = true;
        ::alarm(kSecondsUntilAlarm);
        KXLog::appendLog("from the child");
        KXLog::createNewLog();
        KXLog::finishWriting();
        std::exit(0);
    }
    int status = -1;
    return ::waitpid(child, &status, 0) == child && status == 0 ? 0 : 1;
}

// Writes nothing until it is opened.
class HeldHandle : public quillmoor::test::ForwardingFileHandle {
  public:
    using ForwardingFileHandle::ForwardingFileHandle;
    void writeData(std::string_view bytes) override {
        {
            std::unique_lock guard(lock_);
            opened_.wait(guard, [this] { return isOpen_; });
        }
        ForwardingFileHandle::writeData(bytes);
    }
    void open() {
        const std::lock_guard guard(lock_);
        isOpen_ = true;
        opened_.notify_all();
    }

  private:
    std::mutex lock_;
    std::condition_variable opened_;
    bool isOpen_ = false;
};

// While the first thread's reason waits to be written, a second thread dies too.
[[noreturn]] void dieTwice(const std::string& secondDiesOf, int lines) {
    KXLog* const log = KXLog::sharedController();
    const auto held = std::make_shared<HeldHandle>(log->fileHandle());
    log->setFileHandle(held);
    writeLines(lines);
    const quillmoor::WriteQueue& queue = *log->writeQueue();
    std::thread([] { dieOf("platform"); }).detach();
    while (queue.operationCount() <= static_cast<std::size_t>(lines)) ::usleep(1000);
    std::thread([secondDiesOf] { dieOf(secondDiesOf); }).detach();
    ::usleep(200'000);  // enough for the second to end the process, if it does not wait
    held->open();
    while (true) ::pause();
}

// Two threads log without a pause while a third dies.
[[noreturn]] void dieInAFlood() {
    for (int t = 0; t < 2; ++t)
        std::thread([] {
            while (true) KXLog::fastAppendLog("a line of the flood, with some words more");
        }).detach();
    while (KXLog::sharedController()->writeQueue()->operationCount() < 100)
        std::this_thread::yield();
    dieOf("platform");
}

long threadCount() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                         std::filesystem::directory_iterator());
}

// Loading the bundle must start no thread and no child, and install no handler.
int load(const char* bundle) {
    const long threads = threadCount();
    const std::terminate_handler handler = std::get_terminate();
    if (::dlopen(bundle, RTLD_NOW) == nullptr) return 1;
    if (threadCount() != threads) return 2;
    if (std::get_terminate() != handler) return 3;
    return ::waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD ? 0 : 4;
}

// Starts a tool in either way, waits until both have written their process numbers, and ends.
int leaveTools(const std::string& folder) {
    const auto tool = [&folder](const std::string& name) {
        const std::string path = folder + "/" + name;
        return quillmoor::StringList{"-c", "echo $$ > '" + path + ".new'; mv '" + path + ".new' '" +
                                               path + "'; exec sleep 300"};
    };
    quillmoor::KXTaskEx::runTaskAndReturn("/bin/sh", tool("returned"));
    const auto run = quillmoor::KXTaskEx::create();
    run->asyncDataFromTask(
        "/bin/sh", tool("asynchronous"), std::make_shared<int>(0),
        [](const quillmoor::Data&, quillmoor::KXTaskEx&, const std::shared_ptr<void>&) {}, nullptr);
    for (const char* name : {"/returned", "/asynchronous"})
        while (!std::filesystem::exists(folder + name)) ::usleep(1000);
    KXLog::appendLog("started");
    return 0;
}

// Grants everything and counts what is freed.
class CountingAuthorization : public quillmoor::test::ForwardingAuthorization {
  public:
    int freed = 0;
    quillmoor::platform::AuthorizationStatus create(
        const quillmoor::platform::AuthorizationItemSet&,
        const quillmoor::platform::AuthorizationItemSet&, quillmoor::platform::AuthorizationFlags,
        quillmoor::platform::AuthorizationRef& reference) override {
        reference = reinterpret_cast<quillmoor::platform::AuthorizationRef>(this);
        return quillmoor::platform::kAuthorizationSuccess;
    }
    quillmoor::platform::AuthorizationStatus copyRights(
        quillmoor::platform::AuthorizationRef, const quillmoor::platform::AuthorizationItemSet&,
        const quillmoor::platform::AuthorizationItemSet&,
        quillmoor::platform::AuthorizationFlags) override {
        return quillmoor::platform::kAuthorizationSuccess;
    }
    quillmoor::platform::AuthorizationStatus free(
        quillmoor::platform::AuthorizationRef, quillmoor::platform::AuthorizationFlags) override {
        ++freed;
        return quillmoor::platform::kAuthorizationSuccess;
    }
};

CountingAuthorization* authorization = nullptr;

// Ends with rights held. What is registered first runs last.
int endWithRights() {
    static quillmoor::test::ScopedPlatform platform;
    authorization = new CountingAuthorization;
    platform->authorization = authorization;
    std::atexit([] { ::_exit(authorization->freed == 0 ? 0 : 1); });
    KXLog::appendLog("before");
    return quillmoor::KXAuthorization::sharedController()->authStart() ? 0 : 2;
}

}  // namespace

// Not a leak: what the worker was about to write is only referenced from its stack, which the
// forked child does not have.
extern "C" __attribute__((visibility("default"))) int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off() {
    return isForkedChild ? 1 : 0;
}

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "load") return load(argv[3]);
    if (mode == "rights") return endWithRights();
    const int count = argc > 3 ? std::atoi(argv[3]) : 0;
    ::setenv("HOME", argc > 2 ? argv[2] : "/nonexistent", 1);
    ::alarm(kSecondsUntilAlarm);
    KXLog::createNewLog();
    KXLog::finishWriting();
    if (mode == "end") {
        writeLines(count);
        return 0;
    }
    if (mode == "killed") {
        std::thread([] { logFromThreads(2, 100'000'000); }).detach();
        ::usleep(50'000);
        std::raise(SIGKILL);
    }
    if (mode == "threads") {
        quillmoor::test::ScopedPlatform platform;
        KeepingFiles files(std::string(argv[2]) + "/aside");
        platform->fileManager = &files;
        logFromThreads(8, count);
        return 0;
    }
    if (mode == "tools") return leaveTools(argv[2]);
    if (mode == "fork") return forkAndLog();
    if (mode == "second throws") dieTwice("standard", count);
    if (mode == "second terminates") dieTwice("nothing", count);
    if (mode == "flood") dieInAFlood();
    writeLines(count);
    std::thread([mode] { dieOf(mode); }).join();
}
