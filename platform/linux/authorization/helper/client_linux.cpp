#include "quillmoor/platform/linux/authorization/helper/client_linux.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <utility>

#include "quillmoor/platform/linux/authorization/channel/peer_linux.h"

namespace quillmoor::platform::linux_::authorization::helper {
namespace {

using posix::Descriptor;

Descriptor connectTo(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return {};
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket ||
        ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return {};
    return socket;
}

// Has the kernel add its sender's credentials to each message, which the sender cannot forge
// without privileges (unix(7)).
bool askForSenders(int socket) {
    const int yes = 1;
    return ::setsockopt(socket, SOL_SOCKET, SO_PASSCRED, &yes, sizeof yes) == 0;
}

}  // namespace

// Only pkexec names the client's own user. Under sudo SUDO_UID may be another's, as su may have
// changed the user before.
bool wasStartedBy(const Arguments& client, const char* invoker) {
    if (invoker != nullptr && invoker != std::to_string(client.uid)) return false;
    return descendsFrom(::getppid(), client.pid);
}

std::optional<Client> connectToClient(const Arguments& expected) {
    Client client{expected.pid, expected.uid, {}, connectTo(expected.path)};
    if (!client.socket) return std::nullopt;
    std::optional<Peer> peer = peerOf(client.socket.get());
    if (!peer || peer->pid != expected.pid || peer->uid != expected.uid) return std::nullopt;
    client.process = std::move(peer->process);
    // While the peer runs, its id cannot be another process's: the ancestry that is checked here is
    // the peer's, and hasEnded comes after it.
    if (!descendsFrom(::getppid(), expected.pid) || hasEnded(client.process) ||
        !askForSenders(client.socket.get()))
        return std::nullopt;
    return client;
}

}  // namespace quillmoor::platform::linux_::authorization::helper
