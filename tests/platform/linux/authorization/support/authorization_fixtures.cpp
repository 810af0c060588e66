#include "tests/platform/linux/authorization/support/authorization_fixtures.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" {
#include <sys/pidfd.h>
}

#include <utility>
#include <vector>

#include "quillmoor/platform/linux/authorization/channel/launch_wait_linux.h"
#include "quillmoor/platform/linux/authorization/helper/session_linux.h"

namespace quillmoor::test {

using platform::linux_::authorization::Channel;
using platform::linux_::authorization::Pipe;
using platform::linux_::authorization::readPiece;
using platform::linux_::authorization::Rendezvous;
using platform::linux_::authorization::helper::Client;
using platform::posix::Descriptor;

Connection::Connection() {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return;
    first = Descriptor(ends[0]);
    second = Descriptor(ends[1]);
}

Client thisProcessAsClient(Descriptor socket) {
    const int yes = 1;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_PASSCRED, &yes, sizeof yes);
    return {::getpid(), ::getuid(), openProcess(::getpid()), std::move(socket)};
}

HelperInThread::HelperInThread() {
    // As in the helper: tools are not waited for.
    ::signal(SIGCHLD, SIG_IGN);
    Connection connection;
    Client client = thisProcessAsClient(std::move(connection.second));
    thread_ = std::thread([served = std::move(client)] {
        platform::linux_::authorization::helper::serve(served,
                                                       [](const Client&, const StringList&) {});
        // The other end sees it at once.
        ::shutdown(served.socket.get(), SHUT_RDWR);
    });
    channel_ = Channel::greet(std::move(connection.first));
}

HelperInThread::~HelperInThread() {
    channel_.reset();
    thread_.join();
    ::signal(SIGCHLD, SIG_DFL);
}

HelperProgram::HelperProgram() {
    std::optional<Rendezvous> rendezvous = Rendezvous::open();
    pid_ = startProgram(helperCommand(*rendezvous));
    process_ = openProcess(pid_);
    pollfd request{rendezvous->descriptor(), POLLIN, 0};
    if (::poll(&request, 1, 10'000) == 1) channel_ = rendezvous->accept(pid_);
}

HelperProgram::~HelperProgram() {
    channel_.reset();
    if (!ends()) ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
}

bool HelperProgram::ends() {
    pollfd ended{process_.get(), POLLIN, 0};
    return ::poll(&ended, 1, 10'000) == 1;
}

StringList helperCommand(const Rendezvous& rendezvous) {
    StringList command{KX_AUTHORIZATION_HELPER};
    for (std::string& argument : rendezvous.helperArguments())
        command.push_back(std::move(argument));
    return command;
}

pid_t startProgram(const StringList& command, int errors) {
    std::vector<char*> arguments;
    for (const std::string& text : command) arguments.push_back(const_cast<char*>(text.c_str()));
    arguments.push_back(nullptr);
    const pid_t child = ::fork();
    if (child != 0) return child;
    if (errors != STDERR_FILENO) ::dup2(errors, STDERR_FILENO);
    ::close_range(STDERR_FILENO + 1, ~0U, 0);
    ::execv(arguments[0], arguments.data());
    ::_exit(127);
}

ProgramEnd endOfProgram(const StringList& command) {
    Pipe errors = Pipe::open();
    const pid_t child = startProgram(command, errors.write.get());
    errors.write.reset();
    ProgramEnd end{};
    while (const std::optional<std::string> piece = readPiece(errors.read.get()))
        end.complaint += *piece;
    end.code = exitCodeOf(child);
    return end;
}

Descriptor openProcess(pid_t process) {
    return Descriptor(::pidfd_open(process, 0));
}

int exitCodeOf(pid_t child) {
    int status = 0;
    if (::waitpid(child, &status, 0) != child) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int exitStatusOfFork(int (*body)()) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(body());
    return exitCodeOf(child);
}

std::string allOf(platform::AuthorizedToolStream& stream) {
    std::string text;
    for (int next = 0; (next = stream.readCharacter()) >= 0;) text += static_cast<char>(next);
    return text;
}

std::string outputOf(Channel& channel, const std::string& tool, const StringList& arguments) {
    std::shared_ptr<platform::AuthorizedToolStream> stream;
    const auto status = channel.execute(tool, arguments, stream);
    return status == 0 ? allOf(*stream) : "failed: " + std::to_string(status);
}

}  // namespace quillmoor::test
