// Child processes.
#pragma once

#include <memory>
#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/file_handle.h"

namespace quillmoor::platform {

// One child process, launched at most once. Set up on one thread; isRunning, terminate and
// waitUntilExit may be called from any. Released while it runs, the child goes on and is reaped.
class Task {
  public:
    virtual ~Task() = default;

    virtual void setLaunchPath(std::string path) = 0;
    virtual std::string launchPath() = 0;
    virtual void setArguments(StringList arguments) = 0;
    // The whole environment; nothing is merged with this process's own.
    virtual void setEnvironment(Environment environment) = 0;

    // What is not set is inherited. A pipe given for input stays open at both ends until the task
    // is released; of pipes given for output and error this process's writing ends are closed once
    // the child has them.
    virtual void setStandardInput(Pipe pipe) = 0;
    virtual void setStandardOutput(Pipe pipe) = 0;
    virtual void setStandardOutput(std::shared_ptr<FileHandle> handle) = 0;
    virtual void setStandardError(Pipe pipe) = 0;
    virtual void setStandardError(std::shared_ptr<FileHandle> handle) = 0;

    // The reading end of the pipe that was given for output; null without one.
    virtual std::shared_ptr<FileHandle> standardOutput() = 0;

    // Starts the child. Throws platform::Exception named kInvalidArgumentException, with the reason
    // "launch path not accessible", when the system cannot start it or it was launched before.
    virtual void launch() = 0;

    // NO before the launch and after the exit.
    virtual bool isRunning() = 0;

    // On the main thread it services the run loop's default mode while it waits. Throws when the
    // task was not launched.
    virtual void waitUntilExit() = 0;

    // The exit status; for a child ended by a signal, the signal's number. Throws while the child
    // runs and before the launch.
    virtual int terminationStatus() = 0;

    // One SIGTERM, to the child alone; nothing when it has ended. Throws before the launch.
    virtual void terminate() = 0;
};

class Tasks {
  public:
    virtual ~Tasks() = default;
    virtual std::shared_ptr<Task> makeTask() = 0;
};

}  // namespace quillmoor::platform
