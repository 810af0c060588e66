#include "quillmoor/platform/linux/authorization/channel/rendezvous_linux.h"

#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "quillmoor/platform/linux/authorization/channel/peer_linux.h"
#include "quillmoor/platform/linux/desktop/tool_path_linux.h"
#include "quillmoor/platform/linux/ground/environment_linux.h"
#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/posix/ground/standard_streams_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using posix::Descriptor;

constexpr char kHelper[] = "quillmoor-rights-helper";

// False when the path is too long for a socket's address.
bool setPath(sockaddr_un& address, const std::string& path) {
    // An address has 108 bytes (unix(7)). Below a long XDG_RUNTIME_DIR, the next place is tried.
    if (path.size() >= sizeof address.sun_path) return false;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

Descriptor listenAt(const std::string& path) {
    sockaddr_un address{};
    if (!setPath(address, path)) return {};
    // Non-blocking, since a connection may be withdrawn between poll and accept, which would then
    // wait (accept(2)).
    Descriptor socket = posix::aboveStandardStreams(Descriptor(
        posix::systemCalls().socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)));
    constexpr int kWaiting = 16;
    if (!socket ||
        posix::systemCalls().bind(socket.get(), reinterpret_cast<const sockaddr*>(&address),
                                  sizeof address) != 0 ||
        posix::systemCalls().listen(socket.get(), kWaiting) != 0)
        return {};
    return socket;
}

// The user's folder for runtime files, then the one for all users.
StringList placesForFolders() {
    const char* const runtime = ::secure_getenv("XDG_RUNTIME_DIR");
    StringList places;
    if (runtime != nullptr && runtime[0] == '/') places.emplace_back(runtime);
    places.emplace_back("/tmp");
    return places;
}

}  // namespace

Rendezvous::Rendezvous(RendezvousFolder folder, Descriptor socket)
    : folder_(std::move(folder)), socket_(std::move(socket)) {}

std::optional<Rendezvous> Rendezvous::open() {
    const StringList places = placesForFolders();
    // In every place, also one that is not used this time.
    for (const std::string& place : places) removeAbandonedFolders(place);
    for (const std::string& place : places) {
        std::optional<RendezvousFolder> folder = RendezvousFolder::make(place);
        if (!folder) continue;
        if (Descriptor socket = listenAt(folder->socketPath()))
            return Rendezvous(*std::move(folder), std::move(socket));
    }
    return std::nullopt;
}

StringList Rendezvous::helperArguments() const {
    return {"--connect", folder_.socketPath(),      "--uid", std::to_string(::getuid()),
            "--pid",     std::to_string(::getpid())};
}

StringList Rendezvous::helperCommand() const {
    // The installed one first: it usually belongs to root.
    OptionalPath helper = installedTool(kHelper);
    if (!helper) helper = ownTool(kHelper);
    if (!helper) return {};
    StringList command = helperArguments();
    command.insert(command.begin(), *helper);
    return command;
}

std::optional<Channel> Rendezvous::accept(pid_t launcher) {
    Descriptor caller = posix::aboveStandardStreams(
        Descriptor(linuxCalls().accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC)));
    if (!caller) {
        // Pending connections wait until a descriptor is free; the pause avoids a busy loop.
        constexpr int kMilliseconds = 100;
        if (errno == EMFILE || errno == ENFILE)
            posix::systemCalls().poll(nullptr, 0, kMilliseconds);
        return std::nullopt;
    }
    // hasEnded comes last: the ancestry that was read is the peer's only if it still runs.
    const std::optional<Peer> peer = peerOf(caller.get());
    if (!peer || peer->uid != 0 || !descendsFrom(peer->pid, launcher) || hasEnded(peer->process))
        return std::nullopt;
    return Channel::greet(std::move(caller));
}

}  // namespace quillmoor::platform::linux_::authorization
