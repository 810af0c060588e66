// A log in a folder of the test's own. The log is one for each process, and so is each test.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quillmoor/log/KXLog.h"
#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {

class LogLocations : public ForwardingLocations {
  public:
    std::string root;
    unsigned* uid = nullptr;
    StringList searchPaths(platform::SearchPathDirectory directory,
                           platform::SearchPathDomainMask domain) override {
        if (directory != platform::SearchPathDirectory::Library || root.empty()) return {};
        if (domain != platform::SearchPathDomainMask::User) return {root + "/machine"};
        return {(*uid == 0 ? "/var/root" : root) + "/user"};
    }
    std::string homeDirectory() override { return root; }
    OptionalPath homeDirectoryForUser(const OptionalString&) override { return root; }
};

class LogProcess : public ForwardingProcessInfo {
  public:
    unsigned uid = 501;
    unsigned realUserId() override { return uid; }
    std::string operatingSystemVersionString() override { return "Version 12"; }
    long processorCount() override { return 2; }
    std::uint64_t physicalMemory() override { return 6'442'450'944; }
};

class LogBundle : public platform::Bundle {
  public:
    OptionalPath executable = "/Applications/Host.app/Contents/MacOS/Host.bin";
    OptionalString version;
    OptionalPath executablePath() override { return executable; }
    OptionalString infoDictionaryText(const std::string& key) override {
        return key == "CFBundleVersion" ? version : std::nullopt;
    }
    OptionalPath pathForResource(const std::string&, const std::string&) override {
        return std::nullopt;
    }
};

class LogBundles : public ForwardingBundles {
  public:
    std::shared_ptr<LogBundle> main = std::make_shared<LogBundle>();
    std::shared_ptr<LogBundle> own = main;
    std::shared_ptr<platform::Bundle> mainBundle() override { return main; }
    std::shared_ptr<platform::Bundle> bundleForCode(const void*) override { return own; }
};

class RecordingConsole : public platform::Console {
  public:
    void log(std::string_view text) override { add(logged_, text); }
    void print(std::string_view text) override { add(printed_, text); }
    void putString(std::string_view text) override { add(printed_, std::string(text) + "\n"); }
    std::string printed() { return read(printed_); }
    std::string logged() { return read(logged_); }

  private:
    void add(std::string& where, std::string_view text) {
        const std::lock_guard guard(lock_);
        where += text;
    }
    std::string read(const std::string& where) {
        const std::lock_guard guard(lock_);
        return where;
    }
    std::mutex lock_;
    std::string printed_;
    std::string logged_;
};

// Holds every write until it is opened.
class Gate {
  public:
    void open() {
        const std::lock_guard guard(lock_);
        open_ = true;
        changed_.notify_all();
    }
    void waitUntilOpen() {
        std::unique_lock guard(lock_);
        ++waiting_;
        changed_.notify_all();
        changed_.wait(guard, [&] { return open_; });
    }
    void waitForSomebody() {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [&] { return waiting_ > 0; });
    }

  private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool open_ = false;
    int waiting_ = 0;
};

class GatedHandle : public ForwardingFileHandle {
  public:
    GatedHandle(std::shared_ptr<platform::FileHandle> next, Gate* gate)
        : ForwardingFileHandle(std::move(next)), gate_(gate) {}
    void writeData(std::string_view bytes) override {
        gate_->waitUntilOpen();
        ForwardingFileHandle::writeData(bytes);
    }

  private:
    Gate* gate_;
};

// Wraps every file that the log opens.
class WrappedHandles : public ForwardingFileHandles {
  public:
    using Wrap =
        std::function<std::shared_ptr<platform::FileHandle>(std::shared_ptr<platform::FileHandle>)>;
    explicit WrappedHandles(Wrap wrap) : wrap_(std::move(wrap)) {}
    std::shared_ptr<platform::FileHandle> openForWriting(const std::string& path) override {
        auto handle = ForwardingFileHandles::openForWriting(path);
        return handle ? wrap_(std::move(handle)) : nullptr;
    }

  private:
    Wrap wrap_;
};

class LogTest : public ::testing::Test {
  protected:
    LogTest() {
        locations_.root = folder_.path();
        locations_.uid = &process_.uid;
        platform_->locations = &locations_;
        platform_->processInfo = &process_;
        platform_->bundles = &bundles_;
        platform_->console = &console_;
    }
    // The log must not use the fakes after they are destroyed.
    ~LogTest() override { KXLog::finishWriting(); }

    std::string logPath(int generation) const {
        return folder_ / ("user/Logs/Quillmoor/Host." + std::to_string(generation) + ".log");
    }
    std::string generation(int n) const { return readFile(logPath(n)); }

    // The messages of a log file: its lines without their dates, each of which is checked.
    static StringList messages(const std::string& path) {
        StringList found;
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);) {
            EXPECT_THAT(line.substr(0, 28),
                        ::testing::MatchesRegex(
                            "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} .0000 - "));
            found.push_back(line.size() < 28 ? line : line.substr(28));
        }
        return found;
    }

    void writePreferences(const std::string& value) {
        folder_.writeFile(
            "user/Preferences/com.quillmoor.shared.plist",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
            "<key>disable-logging</key>" +
                value + "</dict></plist>\n");
    }

    // The worker waits at `gate` before each write.
    void holdWritesAt(Gate& gate) {
        KXLog::finishWriting();
        KXLog* log = KXLog::sharedController();
        log->setFileHandle(std::make_shared<GatedHandle>(log->fileHandle(), &gate));
    }

    TempFolder folder_;
    LogLocations locations_;
    LogProcess process_;
    LogBundles bundles_;
    RecordingConsole console_;
    ScopedPlatform platform_;
};

// The characters that are queued and not yet written.
inline std::size_t queued() {
    return KXLog::sharedController()->bytesInQueue();
}

// The messages after the header, whose four lines are checked elsewhere.
class OpenLog : public LogTest {
  protected:
    OpenLog() {
        KXLog::createNewLog();
        KXLog::finishWriting();
    }
    StringList written() {
        KXLog::finishWriting();
        StringList all = messages(logPath(1));
        all.erase(all.begin(), all.begin() + std::min<long>(4, static_cast<long>(all.size())));
        return all;
    }
};

}  // namespace quillmoor::test
