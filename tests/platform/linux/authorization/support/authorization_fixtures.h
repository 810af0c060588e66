// Helpers for the tests of authorization: one in a thread of the test, which need not be root, and
// the real program.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "quillmoor/platform/authorization.h"
#include "quillmoor/platform/linux/authorization/channel/channel_linux.h"
#include "quillmoor/platform/linux/authorization/channel/rendezvous_linux.h"
#include "quillmoor/platform/linux/authorization/helper/client_linux.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::test {

// Two ends of one connection.
struct Connection {
    Connection();
    platform::posix::Descriptor first;
    platform::posix::Descriptor second;
};

// This process as a helper's client, at the other end of `socket`.
platform::linux_::authorization::helper::Client thisProcessAsClient(
    platform::posix::Descriptor socket);

// Puts a changed copy of the table of system calls in force for as long as it lives.
class ChangedCalls {
  public:
    explicit ChangedCalls(void (*change)(platform::posix::SystemCalls& calls)) {
        change(calls_);
        before_ = platform::posix::exchangeSystemCalls(&calls_);
    }
    ~ChangedCalls() { platform::posix::exchangeSystemCalls(before_); }
    ChangedCalls(const ChangedCalls&) = delete;
    ChangedCalls& operator=(const ChangedCalls&) = delete;

  private:
    // Kept until the process exits: a helper in a thread may have found the table just before it
    // is replaced, and still read from it.
    static platform::posix::SystemCalls& copyOfTable() {
        static auto* const tables = new std::deque<platform::posix::SystemCalls>;
        return tables->emplace_back(platform::posix::systemCalls());
    }

    platform::posix::SystemCalls& calls_ = copyOfTable();
    const platform::posix::SystemCalls* before_ = nullptr;
};

// The helper's own code in a thread of this process: its tools run as this process's user. Ends
// with the channel.
class HelperInThread {
  public:
    HelperInThread();
    ~HelperInThread();
    HelperInThread(const HelperInThread&) = delete;
    HelperInThread& operator=(const HelperInThread&) = delete;

    platform::linux_::authorization::Channel& channel() { return *channel_; }

  private:
    std::thread thread_;
    std::optional<platform::linux_::authorization::Channel> channel_;
};

// The helper program as a child of this process, which must be root's.
class HelperProgram {
  public:
    HelperProgram();
    ~HelperProgram();
    HelperProgram(const HelperProgram&) = delete;
    HelperProgram& operator=(const HelperProgram&) = delete;

    std::optional<platform::linux_::authorization::Channel>& channel() { return channel_; }
    pid_t pid() const { return pid_; }
    // Within ten seconds.
    bool ends();

  private:
    platform::posix::Descriptor process_;
    pid_t pid_ = -1;
    std::optional<platform::linux_::authorization::Channel> channel_;
};

// The helper that was built with this test, for a client that waits there.
StringList helperCommand(const platform::linux_::authorization::Rendezvous& rendezvous);
// Starts a program with only its standard streams; -1 when it cannot be. What it writes to
// standard error is sent to `errors`, unless that is one of those.
pid_t startProgram(const StringList& command, int errors = STDERR_FILENO);

// How a program ended, and what it wrote to standard error.
struct ProgramEnd {
    int code;
    std::string complaint;
};
ProgramEnd endOfProgram(const StringList& command);
// Waits for a child; its exit code, or 128 and the number of the signal that ended it.
int exitCodeOf(pid_t child);
// A descriptor that is readable once the process has ended.
platform::posix::Descriptor openProcess(pid_t process);
// Returns the exit status of `body` in a child of this process.
int exitStatusOfFork(int (*body)());

// All that a tool writes to its output.
std::string allOf(platform::AuthorizedToolStream& stream);
// Starts a tool by the channel and returns its output; "failed: STATUS" if it cannot be started.
std::string outputOf(platform::linux_::authorization::Channel& channel, const std::string& tool,
                     const StringList& arguments = {});

}  // namespace quillmoor::test
