// Child processes.
#pragma once

#include <memory>
#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/file_handle.h"

namespace quillmoor::platform {

// One child process, launched at most once. Set up and launched on one thread; isRunning,
// terminate, interrupt and waitUntilExit may be called from any thread. A child whose task is
// released while it runs keeps running and is reaped.
class Task {
  public:
    virtual ~Task() = default;

    virtual void setLaunchPath(std::string path) = 0;
    virtual std::string launchPath() = 0;
    virtual void setArguments(StringList arguments) = 0;
    virtual StringList arguments() = 0;
    // The whole environment; nothing is merged with this process's own. nil until it is set, which
    // inherits that.
    virtual void setEnvironment(Environment environment) = 0;
    virtual OptionalEnvironment environment() = 0;

    // A stream that is not set is inherited. A pipe for input stays open at both ends until the
    // task is released, so a child that reads it waits; of pipes for output and error this
    // process's writing ends are closed after the launch.
    virtual void setStandardInput(Pipe pipe) = 0;
    virtual void setStandardOutput(Pipe pipe) = 0;
    virtual void setStandardOutput(std::shared_ptr<FileHandle> handle) = 0;
    virtual void setStandardError(Pipe pipe) = 0;
    virtual void setStandardError(std::shared_ptr<FileHandle> handle) = 0;

    // The reading end of the pipe that was set for output; null without one.
    virtual std::shared_ptr<FileHandle> standardOutput() = 0;

    // Starts the child with the three standard streams and no other descriptor, default signals and
    // an empty signal mask. Throws platform::Exception named kInvalidArgumentException: with the
    // reason "launch path not accessible" when the system cannot start it, which leaves the task as
    // it was, and with another when it was launched before.
    virtual void launch() = 0;

    // False before the launch and after the exit.
    virtual bool isRunning() = 0;

    // On the main thread it runs the run loop's default mode while it waits. Throws as launch does
    // when the task was not launched.
    virtual void waitUntilExit() = 0;

    // The exit status; for a child ended by a signal, the signal's number; -1 when the system has
    // discarded the status. Throws as launch does while the child runs and before the launch.
    virtual int terminationStatus() = 0;

    // 0 before the launch. Kept when the child has ended: another process may have it then.
    virtual int processIdentifier() = 0;

    // Send one SIGTERM, or SIGINT, to the child alone, and nothing when it has ended. Throw as
    // launch does before the launch.
    virtual void terminate() = 0;
    virtual void interrupt() = 0;
};

// May be called from any thread.
class Tasks {
  public:
    virtual ~Tasks() = default;
    virtual std::shared_ptr<Task> makeTask() = 0;
};

}  // namespace quillmoor::platform
