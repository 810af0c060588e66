#include "objc/tasks.h"

#include <utility>

#include "objc/bridge.h"
#include "objc/file_handles.h"
#include "objc/wrappers.h"

using namespace quillmoor::objc;
using quillmoor::platform::FileHandle;
using quillmoor::platform::Pipe;
using quillmoor::platform::Task;
using quillmoor::OptionalEnvironment;
using quillmoor::StringList;

@interface KXLibraryTask : NSTask {
  @public
    std::shared_ptr<Task> _task;
}
@end

// The pipe of a child's output, of which this process has the reading end alone.
@interface KXLibraryPipe : NSPipe {
  @public
    std::shared_ptr<FileHandle> _reading;
}
@end

@implementation KXLibraryPipe

- (NSFileHandle*)fileHandleForReading {
    return raising([&] { return fromFileHandle(_reading); });
}

- (NSFileHandle*)fileHandleForWriting {
    return nil;
}

@end

namespace {

Wrappers& wrappers() {
    static auto* const wrappers = new Wrappers;
    return *wrappers;
}

// A child that a caller has made.
class AdoptedTask : public Task {
  public:
    explicit AdoptedTask(NSTask* task) : object_(toObject(task)) {}

    NSTask* task() const { return static_cast<NSTask*>(object_.get()); }

    std::string launchPath() override {
        return throwing([&] { return toString([task() launchPath]).value_or(""); });
    }
    std::shared_ptr<FileHandle> standardOutput() override {
        return throwing([&] {
            id output = [task() standardOutput];
            if ([output isKindOfClass:[NSPipe class]]) output = [output fileHandleForReading];
            return [output isKindOfClass:[NSFileHandle class]] ? toFileHandle(output) : nullptr;
        });
    }
    void launch() override {
        throwing([&] { [task() launch]; });
    }
    bool isRunning() override {
        return throwing([&] { return [task() isRunning] == YES; });
    }
    void waitUntilExit() override {
        throwing([&] { [task() waitUntilExit]; });
    }
    int terminationStatus() override {
        return throwing([&] { return [task() terminationStatus]; });
    }
    StringList arguments() override {
        return throwing([&] { return toArguments([task() arguments]).value_or(StringList()); });
    }
    OptionalEnvironment environment() override {
        return throwing([&] { return toEnvironment([task() environment]); });
    }
    int processIdentifier() override {
        return throwing([&] { return [task() processIdentifier]; });
    }
    void terminate() override {
        throwing([&] { [task() terminate]; });
    }
    void interrupt() override {
        throwing([&] { [task() interrupt]; });
    }

    void setLaunchPath(std::string) override { refuse(); }
    void setArguments(StringList) override { refuse(); }
    void setEnvironment(quillmoor::Environment) override { refuse(); }
    void setStandardInput(Pipe) override { refuse(); }
    void setStandardOutput(Pipe) override { refuse(); }
    void setStandardOutput(std::shared_ptr<FileHandle>) override { refuse(); }
    void setStandardError(Pipe) override { refuse(); }
    void setStandardError(std::shared_ptr<FileHandle>) override { refuse(); }

  private:
    // The library configures only what it has made itself.
    static void refuse() {
        throw quillmoor::platform::Exception(quillmoor::platform::kInvalidArgumentException,
                                             "the task is the caller's");
    }

    std::shared_ptr<void> object_;
};

// What is not valid UTF-8 is left out.
NSDictionary* fromEnvironment(const OptionalEnvironment& environment) {
    if (!environment) return nil;
    NSMutableDictionary* variables = [NSMutableDictionary dictionary];
    for (const auto& [name, value] : *environment) {
        NSString* key = fromString(std::string_view(name));
        NSString* text = fromString(std::string_view(value));
        if (key != nil && text != nil) [variables setObject:text forKey:key];
    }
    return variables;
}

// Not by init, which would open a pipe.
NSPipe* pipeOf(const std::shared_ptr<FileHandle>& reading) {
    if (reading == nullptr) return nil;
    auto* pipe = static_cast<KXLibraryPipe*>(NSAllocateObject([KXLibraryPipe class], 0, nullptr));
    pipe->_reading = reading;
    return [pipe autorelease];
}

}  // namespace

@implementation KXLibraryTask

- (NSString*)launchPath {
    return raising([&] { return fromString(std::string_view(_task->launchPath())); });
}

- (NSArray*)arguments {
    return raising([&] { return fromList(_task->arguments()); });
}

- (NSDictionary*)environment {
    return raising([&] { return fromEnvironment(_task->environment()); });
}

// Of a pipe; nil otherwise.
- (id)standardOutput {
    return raising([&] { return pipeOf(_task->standardOutput()); });
}

- (void)launch {
    raising([&] { _task->launch(); });
}

- (int)processIdentifier {
    return raising([&] { return _task->processIdentifier(); });
}

- (void)interrupt {
    raising([&] { _task->interrupt(); });
}

- (BOOL)isRunning {
    return raising([&] { return _task->isRunning(); });
}

- (int)terminationStatus {
    return raising([&] { return _task->terminationStatus(); });
}

- (void)terminate {
    raising([&] { _task->terminate(); });
}

- (void)waitUntilExit {
    raising([&] { _task->waitUntilExit(); });
}

- (oneway void)release {
    const auto guard = wrappers().beginRelease(self, _task.get());
    [super release];
}

@end

namespace quillmoor::objc {

NSTask* fromTask(const std::shared_ptr<Task>& task) {
    if (task == nullptr) return nil;
    if (const auto* adopted = dynamic_cast<AdoptedTask*>(task.get()))
        return [[adopted->task() retain] autorelease];
    return wrappers().wrapperOf(task.get(), [&] {
        KXLibraryTask* wrapper = [[KXLibraryTask alloc] init];
        wrapper->_task = task;
        return wrapper;
    });
}

std::shared_ptr<Task> toTask(NSTask* task) {
    if (task == nil) return nullptr;
    if ([task isKindOfClass:[KXLibraryTask class]]) return static_cast<KXLibraryTask*>(task)->_task;
    return std::make_shared<AdoptedTask>(task);
}

}  // namespace quillmoor::objc
