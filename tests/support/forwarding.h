// Services that forward every call, so that a fake overrides only the call that it is about.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "quillmoor/platform/platform.h"

namespace quillmoor::test {

// A copy of this system's platform, which is used as long as this lives. Replace a service:
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
    std::optional<platform::FileIdentity> identityOfItem(const std::string& path) override {
        return next().identityOfItem(path);
    }
    bool isExecutableFile(const std::string& path) override {
        return next().isExecutableFile(path);
    }
    bool isWritableFile(const std::string& path) override { return next().isWritableFile(path); }
    OptionalString destinationOfSymbolicLink(const std::string& path) override {
        return next().destinationOfSymbolicLink(path);
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

class ForwardingAttributes : public Forwarding<platform::Attributes> {
  public:
    ForwardingAttributes() : Forwarding(platform::native().attributes) {}
    std::optional<platform::ItemAttributes> attributesOfItem(const std::string& path) override {
        return next().attributesOfItem(path);
    }
    Outcome setImmutable(const std::string& path, bool immutable) override {
        return next().setImmutable(path, immutable);
    }
    Outcome setPosixPermissions(const std::string& path, unsigned permissions) override {
        return next().setPosixPermissions(path, permissions);
    }
    Outcome setModificationDate(const std::string& path,
                                std::chrono::system_clock::time_point date) override {
        return next().setModificationDate(path, date);
    }
    Outcome setCreationDate(const std::string& path,
                            std::chrono::system_clock::time_point date) override {
        return next().setCreationDate(path, date);
    }
};

class ForwardingFileTree : public Forwarding<platform::FileTree> {
  public:
    ForwardingFileTree() : Forwarding(platform::native().fileTree) {}
    std::uint64_t size(const std::string& path, const StopToken& stop) override {
        return next().size(path, stop);
    }
    platform::TreeCount count(const std::string& path, const StopToken& stop) override {
        return next().count(path, stop);
    }
    Outcome copy(const std::string& path, const std::string& destination,
                 platform::TreeProgress* progress, const StopToken& stop) override {
        return next().copy(path, destination, progress, stop);
    }
    StringList match(const StringList& folders, const std::string& pattern) override {
        return next().match(folders, pattern);
    }
};

class ForwardingFileHandles : public Forwarding<platform::FileHandles> {
  public:
    ForwardingFileHandles() : Forwarding(platform::native().fileHandles) {}
    std::shared_ptr<platform::FileHandle> openForWriting(const std::string& path) override {
        return next().openForWriting(path);
    }
    bool endsWithinLine(const std::string& path) override { return next().endsWithinLine(path); }
    std::shared_ptr<platform::FileHandle> nullDevice() override { return next().nullDevice(); }
    platform::Pipe makePipe() override { return next().makePipe(); }
};

// For one open file.
class ForwardingFileHandle : public platform::FileHandle {
  public:
    explicit ForwardingFileHandle(std::shared_ptr<platform::FileHandle> next)
        : next_(std::move(next)) {}
    void writeData(std::string_view bytes) override { next_->writeData(bytes); }
    std::uint64_t seekToEndOfFile() override { return next_->seekToEndOfFile(); }
    void writeAtEndOnly() override { next_->writeAtEndOnly(); }
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

// For one child.
class ForwardingTask : public platform::Task {
  public:
    explicit ForwardingTask(std::shared_ptr<platform::Task> next) : next_(std::move(next)) {}
    void setLaunchPath(std::string path) override { next_->setLaunchPath(std::move(path)); }
    std::string launchPath() override { return next_->launchPath(); }
    void setArguments(StringList arguments) override { next_->setArguments(std::move(arguments)); }
    StringList arguments() override { return next_->arguments(); }
    void setEnvironment(Environment environment) override {
        next_->setEnvironment(std::move(environment));
    }
    OptionalEnvironment environment() override { return next_->environment(); }
    void setStandardInput(platform::Pipe pipe) override {
        next_->setStandardInput(std::move(pipe));
    }
    void setStandardOutput(platform::Pipe pipe) override {
        next_->setStandardOutput(std::move(pipe));
    }
    void setStandardOutput(std::shared_ptr<platform::FileHandle> handle) override {
        next_->setStandardOutput(std::move(handle));
    }
    std::shared_ptr<platform::FileHandle> standardOutput() override {
        return next_->standardOutput();
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
    int processIdentifier() override { return next_->processIdentifier(); }
    void terminate() override { next_->terminate(); }
    void interrupt() override { next_->interrupt(); }

  private:
    std::shared_ptr<platform::Task> next_;
};

class ForwardingFileOperations : public Forwarding<platform::FileOperations> {
  public:
    ForwardingFileOperations() : Forwarding(platform::native().fileOperations) {}
    platform::FileOperationRef create() override { return next().create(); }
    std::int32_t schedule(const platform::FileOperationRef& operation) override {
        return next().schedule(operation);
    }
    std::int32_t unschedule(const platform::FileOperationRef& operation) override {
        return next().unschedule(operation);
    }
    std::int32_t copy(const platform::FileOperationRef& operation, const std::string& source,
                      const std::string& folder, const std::string& name,
                      platform::FileOperationCallback callback,
                      std::chrono::milliseconds interval) override {
        return next().copy(operation, source, folder, name, std::move(callback), interval);
    }
    std::int32_t cancel(const platform::FileOperationRef& operation) override {
        return next().cancel(operation);
    }
};

class ForwardingMainThread : public Forwarding<platform::MainThread> {
  public:
    ForwardingMainThread() : Forwarding(platform::native().mainThread) {}
    bool isMainThread() override { return next().isMainThread(); }
    void performOnMainThread(std::function<void()> function,
                             platform::WaitUntilDone wait) override {
        next().performOnMainThread(std::move(function), wait);
    }
    platform::PreparedCall prepareCall(std::function<void()> function) override {
        return next().prepareCall(std::move(function));
    }
    void queue(platform::PreparedCall call) noexcept override { next().queue(std::move(call)); }
    bool sendNextEvent(std::chrono::milliseconds longest) override {
        return next().sendNextEvent(longest);
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

class ForwardingApplications : public Forwarding<platform::Applications> {
  public:
    ForwardingApplications() : Forwarding(platform::native().applications) {}
    OptionalPath absolutePathForAppBundle(const std::string& identifier) override {
        return next().absolutePathForAppBundle(identifier);
    }
    bool openFile(const std::string& path) override { return next().openFile(path); }
    std::int32_t registerApplication(const std::string& path) override {
        return next().registerApplication(path);
    }
    void noteFileSystemChanged(const std::string& path) override {
        next().noteFileSystemChanged(path);
    }
    bool isFilePackage(const std::string& path) override { return next().isFilePackage(path); }
};

class ForwardingTrash : public Forwarding<platform::Trash> {
  public:
    ForwardingTrash() : Forwarding(platform::native().trash) {}
    platform::RecycleOutcome recycle(const std::string& source, const OptionalPath& destination,
                                     const StringList& names) override {
        return next().recycle(source, destination, names);
    }
    bool prepareTrash(const std::string& destination) override {
        return next().prepareTrash(destination);
    }
    bool recordPendingTrash(const std::string& destination, const std::string& name,
                            const std::string& item) override {
        return next().recordPendingTrash(destination, name, item);
    }
    void discardTrashRecord(const std::string& destination, const std::string& name) override {
        next().discardTrashRecord(destination, name);
    }
};

class ForwardingToolPaths : public Forwarding<platform::ToolPaths> {
  public:
    ForwardingToolPaths() : Forwarding(platform::native().toolPaths) {}
    std::string toolPath(const std::string& path) override { return next().toolPath(path); }
};

class ForwardingFinderInfo : public Forwarding<platform::FinderInfo> {
  public:
    ForwardingFinderInfo() : Forwarding(platform::native().finderInfo) {}
    bool makeReference(const std::string& path, platform::FileReference& reference) override {
        return next().makeReference(path, reference);
    }
    OptionalPath pathOfReference(const platform::FileReference& reference) override {
        return next().pathOfReference(reference);
    }
    std::int32_t catalogInfo(const platform::FileReference& reference,
                             platform::CatalogInfo& info) override {
        return next().catalogInfo(reference, info);
    }
    std::int32_t setFinderInfo(const platform::FileReference& reference,
                               const platform::CatalogInfo& info) override {
        return next().setFinderInfo(reference, info);
    }
    std::int32_t sendUpdateEvent(const platform::FileReference& reference) override {
        return next().sendUpdateEvent(reference);
    }
};

class ForwardingAuthorization : public Forwarding<platform::Authorization> {
  public:
    ForwardingAuthorization() : Forwarding(platform::native().authorization) {}
    platform::AuthorizationStatus create(const platform::AuthorizationItemSet& rights,
                                         const platform::AuthorizationItemSet& environment,
                                         platform::AuthorizationFlags flags,
                                         platform::AuthorizationRef& reference) override {
        return next().create(rights, environment, flags, reference);
    }
    platform::AuthorizationStatus copyRights(platform::AuthorizationRef reference,
                                             const platform::AuthorizationItemSet& rights,
                                             const platform::AuthorizationItemSet& environment,
                                             platform::AuthorizationFlags flags) override {
        return next().copyRights(reference, rights, environment, flags);
    }
    platform::AuthorizationStatus free(platform::AuthorizationRef reference,
                                       platform::AuthorizationFlags flags) override {
        return next().free(reference, flags);
    }
    platform::AuthorizationStatus copyPrivilegedReference(
        platform::AuthorizationFlags flags, platform::AuthorizationRef& reference) override {
        return next().copyPrivilegedReference(flags, reference);
    }
    platform::AuthorizationStatus executeWithPrivileges(
        platform::AuthorizationRef reference, const std::string& tool,
        platform::AuthorizationFlags options, const StringList& arguments,
        std::shared_ptr<platform::AuthorizedToolStream>& stream) override {
        return next().executeWithPrivileges(reference, tool, options, arguments, stream);
    }
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
    void sleep(std::chrono::microseconds duration) override { next().sleep(duration); }
    std::tm localTime(std::chrono::system_clock::time_point date) override {
        return next().localTime(date);
    }
    std::int64_t processorTime() override { return next().processorTime(); }
};

}  // namespace quillmoor::test
