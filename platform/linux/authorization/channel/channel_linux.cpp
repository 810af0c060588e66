#include "quillmoor/platform/linux/authorization/channel/channel_linux.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <mutex>
#include <utility>
#include <vector>

#include "quillmoor/platform/linux/authorization/channel/message_linux.h"
#include "quillmoor/platform/linux/authorization/channel/tool_stream_linux.h"
#include "quillmoor/platform/posix/ground/standard_streams_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_::authorization {

using posix::Descriptor;

namespace {

// Every channel's descriptor, which a child made by fork closes: the helper ends when a process
// other than its client sends anything, so a child that used the parent's channel would end it.
class OpenSockets {
  public:
    static OpenSockets& shared() {
        static OpenSockets* const sockets = new OpenSockets;
        return *sockets;
    }

    void add(Descriptor* socket) {
        const std::lock_guard lock(mutex_);
        sockets_.push_back(socket);
    }
    void remove(Descriptor* socket) {
        const std::lock_guard lock(mutex_);
        std::erase(sockets_, socket);
    }

  private:
    OpenSockets() {
        // Locked during the fork, so that the child finds a complete list and a mutex that it can
        // unlock.
        ::pthread_atfork([] { shared().mutex_.lock(); }, [] { shared().mutex_.unlock(); },
                         [] { shared().closeInChild(); });
    }
    void closeInChild() {
        for (Descriptor* const socket : sockets_) socket->reset();
        mutex_.unlock();
    }

    std::mutex mutex_;
    std::vector<Descriptor*> sockets_;
};

bool isReadable(int descriptor, int milliseconds) {
    pollfd polled{descriptor, POLLIN, 0};
    int count = 0;
    do count = posix::systemCalls().poll(&polled, 1, milliseconds);
    while (count < 0 && errno == EINTR);
    return count > 0;
}

// Receives a header. Without a time limit: the helper is trusted to send all that it has begun.
bool receiveHeader(int socket, MessageKind kind, std::size_t size) {
    MessageHeader header{};
    return receiveBytes(socket, &header, sizeof header) && header.magic == kMessageMagic &&
           header.kind == static_cast<std::uint32_t>(kind) && header.size == size;
}

Descriptor openAbove(const char* path, int flags) {
    return posix::aboveStandardStreams(
        Descriptor(posix::systemCalls().openat(AT_FDCWD, path, flags, 0)));
}

// What a tool inherits from this process besides its stream.
struct ToolContext {
    Descriptor folder;
    Descriptor noError;  // where this process has no standard error
};

constexpr char kNowhere[] = "/dev/null";

// The folder may not be entered, was removed, or is on a file system that does not respond any
// more: a soft network mount reports EIO. A lack of descriptors or memory says nothing about the
// folder.
bool isOutOfReach(int error) {
    constexpr std::array kErrors{EACCES, EPERM,    ENOENT,       ENOTDIR,   ESTALE,
                                 EIO,    ENOTCONN, ECONNABORTED, ETIMEDOUT, EHOSTDOWN};
    return std::find(kErrors.begin(), kErrors.end(), error) != kErrors.end();
}

// A process may be unable to open its own working folder: then the helper gets a descriptor that is
// not a folder, and uses an empty one.
Descriptor openWorkingFolder() {
    Descriptor folder = openAbove(".", O_PATH | O_DIRECTORY);
    return folder || !isOutOfReach(errno) ? std::move(folder) : openAbove(kNowhere, O_PATH);
}

bool openToolContext(ToolContext& context) {
    return openWithRoom([&context] {
        context.folder = openWorkingFolder();
        if (!context.folder) return false;
        if (posix::systemCalls().fcntl(STDERR_FILENO, F_GETFD, 0) >= 0) return true;
        context.noError = openAbove(kNowhere, O_RDWR);
        return static_cast<bool>(context.noError);
    });
}

}  // namespace

struct Channel::Socket {
    explicit Socket(Descriptor connected) : descriptor(std::move(connected)) {
        OpenSockets::shared().add(&descriptor);
    }
    // Off the list before the descriptor is destroyed: a fork in between would use it.
    ~Socket() { OpenSockets::shared().remove(&descriptor); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    Descriptor descriptor;
};

Channel::Channel(std::unique_ptr<Socket> socket) : socket_(std::move(socket)) {}
Channel::Channel(Channel&& other) noexcept = default;
Channel& Channel::operator=(Channel&& other) noexcept = default;
Channel::~Channel() = default;

std::optional<Channel> Channel::greet(Descriptor socket) {
    constexpr int kMilliseconds = 5000;
    if (!socket || !isReadable(socket.get(), kMilliseconds) ||
        !receiveHeader(socket.get(), MessageKind::Hello, 0))
        return std::nullopt;
    return Channel(std::make_unique<Socket>(std::move(socket)));
}

bool Channel::isOpen() const {
    // The helper sends nothing without a request: readable means that it has closed its end.
    return socket_->descriptor && !isReadable(socket_->descriptor.get(), 0);
}

AuthorizationStatus Channel::execute(const std::string& tool, const StringList& arguments,
                                     std::shared_ptr<AuthorizedToolStream>& stream) {
    if (!isOpen()) return kAuthorizationDenied;
    // Everything that can fail here comes before the first byte is sent: until then the channel
    // stays usable.
    const std::optional<std::string> body = encodeCommand(tool, arguments);
    ToolContext context;
    if (!body || !openToolContext(context)) return kAuthorizationToolExecuteFailure;
    std::optional<ToolPipes> pipes = openToolPipes();
    if (!pipes) return kAuthorizationToolExecuteFailure;
    const std::array<int, kRequestDescriptors> descriptors{
        pipes->input.get(), pipes->output.get(),
        context.noError ? context.noError.get() : STDERR_FILENO, context.folder.get()};

    const int socket = socket_->descriptor.get();
    const bool isSent = sendMessage(socket, MessageKind::Request, *body, descriptors);
    // Nothing was sent: the channel stays usable.
    if (!isSent && errno == ETOOMANYREFS) return kAuthorizationToolExecuteFailure;
    ReplyBody error = 0;
    if (!isSent || !receiveHeader(socket, MessageKind::Reply, sizeof error) ||
        !receiveBytes(socket, &error, sizeof error)) {
        // A part of a message may be in transit, so no further one would be understood.
        socket_->descriptor.reset();
        return kAuthorizationDenied;
    }
    if (error != 0) return kAuthorizationToolExecuteFailure;
    stream = std::move(pipes->stream);
    return kAuthorizationSuccess;
}

}  // namespace quillmoor::platform::linux_::authorization
