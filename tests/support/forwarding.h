// Services that pass every call on to another, so that a fake overrides just the one it is about.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/platform.h"

namespace quillmoor::test {

// A copy of this system's own platform, in force for as long as this lives. Replace a service:
//   ScopedPlatform fake; fake->clock = &clock;
class ScopedPlatform {
  public:
    ScopedPlatform() : platform_(platform::native()), previous_(platform::exchange(&platform_)) {}
    ~ScopedPlatform() { platform::exchange(previous_); }
    ScopedPlatform(const ScopedPlatform&) = delete;
    ScopedPlatform& operator=(const ScopedPlatform&) = delete;
    platform::Platform* operator->() { return &platform_; }

  private:
    platform::Platform platform_;
    const platform::Platform* previous_;
};

template <typename Service>
class Forwarding : public Service {
  public:
    explicit Forwarding(Service* next) : next_(next) {}

  protected:
    Service& next() { return *next_; }

  private:
    Service* next_;
};

class ForwardingProcessInfo : public Forwarding<platform::ProcessInfo> {
  public:
    ForwardingProcessInfo() : Forwarding(platform::native().processInfo) {}
    unsigned realUserId() override { return next().realUserId(); }
    std::string globallyUniqueString() override { return next().globallyUniqueString(); }
    std::string operatingSystemVersionString() override {
        return next().operatingSystemVersionString();
    }
    long processorCount() override { return next().processorCount(); }
    std::uint64_t physicalMemory() override { return next().physicalMemory(); }
    void callInForkedChild(void (*function)()) override { next().callInForkedChild(function); }
};

class ForwardingLocations : public Forwarding<platform::Locations> {
  public:
    ForwardingLocations() : Forwarding(platform::native().locations) {}
    StringList searchPaths(platform::SearchPathDirectory directory,
                           platform::SearchPathDomainMask domain) override {
        return next().searchPaths(directory, domain);
    }
    std::string homeDirectory() override { return next().homeDirectory(); }
    OptionalPath homeDirectoryForUser(const OptionalString& name) override {
        return next().homeDirectoryForUser(name);
    }
    std::string userName() override { return next().userName(); }
    OptionalString consoleUser() override { return next().consoleUser(); }
    std::size_t confstr(int name, std::span<char> buffer) override {
        return next().confstr(name, buffer);
    }
    std::string temporaryDirectory() override { return next().temporaryDirectory(); }
};

class ForwardingFileManager : public Forwarding<platform::FileManager> {
  public:
    ForwardingFileManager() : Forwarding(platform::native().fileManager) {}
    bool fileExists(const std::string& path) override { return next().fileExists(path); }
    bool isDirectory(const std::string& path) override { return next().isDirectory(path); }
    bool isExecutableFile(const std::string& path) override {
        return next().isExecutableFile(path);
    }
    std::optional<StringList> contentsOfDirectory(const std::string& path) override {
        return next().contentsOfDirectory(path);
    }
    Outcome createDirectoryWithIntermediates(const std::string& path) override {
        return next().createDirectoryWithIntermediates(path);
    }
    Outcome removeItem(const std::string& path) override { return next().removeItem(path); }
    Outcome moveItem(const std::string& path, const std::string& destination) override {
        return next().moveItem(path, destination);
    }
    Outcome copyItem(const std::string& path, const std::string& destination) override {
        return next().copyItem(path, destination);
    }
    Outcome writeAtomically(const std::string& path, std::string_view contents) override {
        return next().writeAtomically(path, contents);
    }
};

class ForwardingFileHandles : public Forwarding<platform::FileHandles> {
  public:
    ForwardingFileHandles() : Forwarding(platform::native().fileHandles) {}
    std::shared_ptr<platform::FileHandle> openForWriting(const std::string& path) override {
        return next().openForWriting(path);
    }
    std::shared_ptr<platform::FileHandle> nullDevice() override { return next().nullDevice(); }
    platform::Pipe makePipe() override { return next().makePipe(); }
};

// Of one open file.
class ForwardingFileHandle : public platform::FileHandle {
  public:
    explicit ForwardingFileHandle(std::shared_ptr<platform::FileHandle> next)
        : next_(std::move(next)) {}
    void writeData(std::string_view bytes) override { next_->writeData(bytes); }
    void seekToEndOfFile() override { next_->seekToEndOfFile(); }
    std::size_t readAvailableData(platform::ByteBuffer& buffer) override {
        return next_->readAvailableData(buffer);
    }
    void closeFile() override { next_->closeFile(); }

  private:
    std::shared_ptr<platform::FileHandle> next_;
};

class ForwardingTasks : public Forwarding<platform::Tasks> {
  public:
    ForwardingTasks() : Forwarding(platform::native().tasks) {}
    std::shared_ptr<platform::Task> makeTask() override { return next().makeTask(); }
};

// Of one child.
class ForwardingTask : public platform::Task {
  public:
    explicit ForwardingTask(std::shared_ptr<platform::Task> next) : next_(std::move(next)) {}
    void setLaunchPath(std::string path) override { next_->setLaunchPath(std::move(path)); }
    std::string launchPath() override { return next_->launchPath(); }
    void setArguments(StringList arguments) override { next_->setArguments(std::move(arguments)); }
    void setEnvironment(Environment environment) override {
        next_->setEnvironment(std::move(environment));
    }
    void setStandardInput(platform::Pipe pipe) override {
        next_->setStandardInput(std::move(pipe));
    }
    void setStandardOutput(platform::Pipe pipe) override {
        next_->setStandardOutput(std::move(pipe));
    }
    void setStandardOutput(std::shared_ptr<platform::FileHandle> handle) override {
        next_->setStandardOutput(std::move(handle));
    }
    void setStandardError(platform::Pipe pipe) override {
        next_->setStandardError(std::move(pipe));
    }
    void setStandardError(std::shared_ptr<platform::FileHandle> handle) override {
        next_->setStandardError(std::move(handle));
    }
    void launch() override { next_->launch(); }
    bool isRunning() override { return next_->isRunning(); }
    void waitUntilExit() override { next_->waitUntilExit(); }
    int terminationStatus() override { return next_->terminationStatus(); }
    void terminate() override { next_->terminate(); }

  private:
    std::shared_ptr<platform::Task> next_;
};

class ForwardingMainThread : public Forwarding<platform::MainThread> {
  public:
    ForwardingMainThread() : Forwarding(platform::native().mainThread) {}
    bool isMainThread() override { return next().isMainThread(); }
    void performOnMainThread(std::function<void()> function,
                             platform::WaitUntilDone wait) override {
        next().performOnMainThread(std::move(function), wait);
    }
    void detachNewThread(std::function<void()> body) override {
        next().detachNewThread(std::move(body));
    }
    void addTerminationObserver(void (*observer)()) override {
        next().addTerminationObserver(observer);
    }
    void removeTerminationObserver(void (*observer)()) override {
        next().removeTerminationObserver(observer);
    }
};

class ForwardingBundles : public Forwarding<platform::Bundles> {
  public:
    ForwardingBundles() : Forwarding(platform::native().bundles) {}
    std::shared_ptr<platform::Bundle> mainBundle() override { return next().mainBundle(); }
    std::shared_ptr<platform::Bundle> bundleForCode(const void* address) override {
        return next().bundleForCode(address);
    }
};

class ForwardingPropertyLists : public Forwarding<platform::PropertyLists> {
  public:
    ForwardingPropertyLists() : Forwarding(platform::native().propertyLists) {}
    std::optional<platform::PropertyListDictionary> dictionaryWithContentsOfFile(
        const std::string& path) override {
        return next().dictionaryWithContentsOfFile(path);
    }
};

class ForwardingWorkspace : public Forwarding<platform::Workspace> {
  public:
    ForwardingWorkspace() : Forwarding(platform::native().workspace) {}
    OptionalPath absolutePathForAppBundle(const std::string& identifier) override {
        return next().absolutePathForAppBundle(identifier);
    }
    bool openFile(const std::string& path) override { return next().openFile(path); }
    bool recycle(const std::string& source, const OptionalPath& destination,
                 const StringList& names) override {
        return next().recycle(source, destination, names);
    }
    bool isFilePackage(const std::string& path) override { return next().isFilePackage(path); }
    std::string toolPath(const std::string& path) override { return next().toolPath(path); }
};

class ForwardingConsole : public Forwarding<platform::Console> {
  public:
    ForwardingConsole() : Forwarding(platform::native().console) {}
    void log(std::string_view text) override { next().log(text); }
    void print(std::string_view text) override { next().print(text); }
    void putString(std::string_view text) override { next().putString(text); }
};

class ForwardingClock : public Forwarding<platform::Clock> {
  public:
    ForwardingClock() : Forwarding(platform::native().clock) {}
    std::chrono::system_clock::time_point now() override { return next().now(); }
    void sleep(std::chrono::seconds duration) override { next().sleep(duration); }
    std::int64_t processorTime() override { return next().processorTime(); }
};

}  // namespace quillmoor::test
