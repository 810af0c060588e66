#include "quillmoor/platform/linux/authorization/polkit/polkit_helper_linux.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cstring>
#include <optional>
#include <utility>

#include "quillmoor/platform/linux/authorization/channel/peer_linux.h"
#include "quillmoor/platform/linux/ground/programs_linux.h"
#include "quillmoor/platform/posix/ground/standard_streams_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using posix::Descriptor;

// Distributions install it in different folders.
constexpr const char* kPrograms[] = {
    "/usr/lib/polkit-1/polkit-agent-helper-1", "/usr/libexec/polkit-agent-helper-1",
    "/usr/libexec/polkit-1/polkit-agent-helper-1", "/usr/lib/policykit-1/polkit-agent-helper-1",
    "/run/wrappers/bin/polkit-agent-helper-1"};
constexpr char kSocket[] = "/run/polkit/agent-helper.socket";

// polkit 127 and later starts it by a socket.
bool isSocket(const char* path) {
    struct stat status {};
    return ::stat(path, &status) == 0 && S_ISSOCK(status.st_mode);
}

std::unique_ptr<PolkitConversation> startProgram(const std::string& program,
                                                 const std::string& user,
                                                 std::string_view password) {
    int ends[2] = {-1, -1};
    if (posix::systemCalls().socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        return nullptr;
    Descriptor ours = posix::aboveStandardStreams(Descriptor(ends[0]));
    const Descriptor theirs = posix::aboveStandardStreams(Descriptor(ends[1]));
    if (!ours || !theirs) return nullptr;
    LaunchSetup setup;
    setup.path = program;
    setup.arguments = {user};
    // One socket is its input and its output.
    setup.descriptors = {theirs.get(), theirs.get(), -1, -1};
    std::unique_ptr<LaunchChild> child = LaunchChild::start(setup);
    if (!child) return nullptr;
    return std::make_unique<PolkitConversation>(std::move(ours), std::move(child), password);
}

// The listener receives the password, so it must run as root.
std::unique_ptr<PolkitConversation> connectTo(const std::string& path, std::string_view password) {
    sockaddr_un address{};
    if (path.size() >= sizeof address.sun_path) return nullptr;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    Descriptor socket = posix::aboveStandardStreams(Descriptor(
        posix::systemCalls().socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)));
    if (!socket ||
        ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return nullptr;
    const std::optional<Peer> listener = peerOf(socket.get());
    if (!listener || listener->uid != 0) return nullptr;
    return std::make_unique<PolkitConversation>(std::move(socket), nullptr, password);
}

}  // namespace

OptionalPath setuidProgram(const std::string& path) {
    OptionalPath program = trustedProgram(path);
    struct stat status {};
    if (!program || ::lstat(program->c_str(), &status) != 0 || status.st_uid != 0 ||
        (status.st_mode & S_ISUID) == 0)
        return std::nullopt;
    return program;
}

PolkitHelper PolkitHelper::ofSystem() {
    PolkitHelper helper;
    for (const char* path : kPrograms)
        if ((helper.program = setuidProgram(path))) return helper;
    if (isSocket(kSocket)) helper.socket = kSocket;
    return helper;
}

std::unique_ptr<PolkitConversation> PolkitHelper::start(const std::string& user,
                                                        const std::string& cookie,
                                                        std::string_view password) const {
    std::unique_ptr<PolkitConversation> conversation;
    if (program)
        conversation = startProgram(*program, user, password);
    else if (socket)
        conversation = connectTo(*socket, password);
    // The user's name is an argument of the program, but the first line for the socket.
    const std::string request = program ? cookie + "\n" : user + "\n" + cookie + "\n";
    // As a line, not as an argument: every process can read arguments, and the cookie is what
    // proves that polkit has asked.
    if (!conversation || !conversation->say(request)) return nullptr;
    return conversation;
}

}  // namespace quillmoor::platform::linux_::authorization
