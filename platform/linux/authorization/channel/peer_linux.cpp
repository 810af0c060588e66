#include "quillmoor/platform/linux/authorization/channel/peer_linux.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

// Early versions of this header lack their own extern "C".
extern "C" {
#include <sys/pidfd.h>
}

#include <cerrno>
#include <charconv>
#include <string>
#include <string_view>

#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using posix::Descriptor;

#ifdef SO_PEERPIDFD
constexpr int kPeerProcess = SO_PEERPIDFD;
#else
constexpr int kPeerProcess = 77;  // from Linux 6.5 on
#endif

Descriptor openPeer(int socket, pid_t pid) {
    int process = -1;
    socklen_t size = sizeof process;
    if (posix::systemCalls().getsockopt(socket, SOL_SOCKET, kPeerProcess, &process, &size) == 0) {
        posix::systemCalls().fcntl(process, F_SETFD, FD_CLOEXEC);
        return Descriptor(process);
    }
    // Only where the kernel is older. After any other error the number must not be looked up, since
    // it may be another process's by now.
    return errno == ENOPROTOOPT ? Descriptor(linuxCalls().pidfd_open(pid, 0)) : Descriptor();
}

// 0 where there is none, or /proc hides it.
pid_t parentOf(pid_t process) {
    const std::string path = "/proc/" + std::to_string(process) + "/stat";
    const Descriptor file(posix::systemCalls().openat(AT_FDCWD, path.c_str(), O_RDONLY, 0));
    // The fields up to the parent; the name before it is short.
    char buffer[512];
    const ssize_t size = file ? posix::systemCalls().read(file.get(), buffer, sizeof buffer) : -1;
    if (size <= 0) return 0;
    // "number (name) state parent ...", where the name may have any characters, also ") ".
    const std::string_view text(buffer, static_cast<std::size_t>(size));
    const std::size_t name = text.rfind(") ");
    constexpr std::size_t kToParent = 4;
    if (name == std::string_view::npos || text.size() < name + kToParent) return 0;
    pid_t parent = 0;
    std::from_chars(text.data() + name + kToParent, text.data() + text.size(), parent);
    return parent;
}

}  // namespace

std::optional<Peer> peerOf(int socket) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (posix::systemCalls().getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) !=
            0 ||
        credentials.pid <= 0)
        return std::nullopt;
    // The credentials are those of the time of connect or listen (unix(7)), not those of a process
    // that has got the socket since.
    Peer peer{credentials.pid, credentials.uid, openPeer(socket, credentials.pid)};
    if (!peer.process || hasEnded(peer.process)) return std::nullopt;
    return peer;
}

bool hasEnded(const Descriptor& process) {
    pollfd ended{process.get(), POLLIN, 0};
    // An error counts as the end: a peer that cannot be checked is not trusted.
    return posix::systemCalls().poll(&ended, 1, 0) != 0;
}

bool descendsFrom(pid_t process, pid_t ancestor) {
    // A bound for the case that ids are reused during the walk, which could then go in a circle.
    constexpr int kMost = 1000;
    for (int step = 0; step < kMost && process > 0; ++step) {
        if (process == ancestor) return true;
        process = parentOf(process);
    }
    return false;
}

}  // namespace quillmoor::platform::linux_::authorization
