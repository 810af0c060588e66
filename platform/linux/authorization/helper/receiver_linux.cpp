#include "quillmoor/platform/linux/authorization/helper/receiver_linux.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_::authorization::helper {
namespace {

using posix::Descriptor;

// The ancillary data of a message. All descriptors are taken, so that none stays open unnoticed.
struct Sender {
    bool isClient = false;
    std::vector<Descriptor> descriptors;
};

void takeDescriptors(const cmsghdr& control, std::vector<Descriptor>& descriptors) {
    const std::size_t size = control.cmsg_len - CMSG_LEN(0);
    for (std::size_t offset = 0; offset < size; offset += sizeof(int)) {
        int number = -1;
        std::memcpy(&number, CMSG_DATA(&control) + offset, sizeof number);
        descriptors.emplace_back(number);
    }
}

bool isFrom(const Client& client, const cmsghdr& control) {
    ucred credentials{};
    if (control.cmsg_len != CMSG_LEN(sizeof credentials)) return false;
    std::memcpy(&credentials, CMSG_DATA(&control), sizeof credentials);
    return credentials.pid == client.pid && credentials.uid == client.uid;
}

// Needs no memory where `sender` has room for all descriptors.
void readSender(msghdr& message, const Client& client, Sender& sender) {
    for (cmsghdr* control = CMSG_FIRSTHDR(&message); control != nullptr;
         control = CMSG_NXTHDR(&message, control)) {
        if (control->cmsg_level != SOL_SOCKET) continue;
        if (control->cmsg_type == SCM_RIGHTS) takeDescriptors(*control, sender.descriptors);
        if (control->cmsg_type == SCM_CREDENTIALS) sender.isClient = isFrom(client, *control);
    }
}

bool isRequest(const MessageHeader& header, std::size_t descriptors) {
    return header.magic == kMessageMagic &&
           header.kind == static_cast<std::uint32_t>(MessageKind::Request) &&
           header.size <= kLargestBody && header.descriptors == kRequestDescriptors &&
           descriptors == kRequestDescriptors;
}

}  // namespace

std::optional<Request> Receiver::next() {
    MessageHeader header{};
    Request request;
    if (!receive(&header, sizeof header, &request.descriptors) ||
        !isRequest(header, request.descriptors.size()))
        return std::nullopt;
    // isRequest has bounded the size.
    std::string body(header.size, '\0');
    if (!receive(body.data(), body.size(), nullptr)) return std::nullopt;
    std::optional<StringList> command = decodeCommand(body);
    if (!command) return std::nullopt;
    request.command = *std::move(command);
    return request;
}

bool Receiver::receive(void* bytes, std::size_t size, std::vector<Descriptor>* descriptors) {
    auto* next = static_cast<char*>(bytes);
    while (size > 0) {
        std::vector<Descriptor> received;
        const std::size_t count = receiveSome(next, size, received);
        if (count == 0) return false;
        if (!received.empty()) {
            // A request has its descriptors in one piece, with the first bytes.
            if (descriptors == nullptr || !descriptors->empty()) return false;
            *descriptors = std::move(received);
        }
        next += count;
        size -= count;
    }
    return true;
}

// False when the client has ended, even if another process still has its end of the socket.
bool Receiver::waitForBytes() {
    std::array<pollfd, 2> polled{
        {{client_.socket.get(), POLLIN, 0}, {client_.process.get(), POLLIN, 0}}};
    int count = 0;
    do count = posix::systemCalls().poll(polled.data(), polled.size(), -1);
    while (count < 0 && errno == EINTR);
    return count > 0 && polled[1].revents == 0;
}

// How many bytes the client has sent; 0 at the end and for anything unexpected.
std::size_t Receiver::receiveSome(void* bytes, std::size_t size,
                                  std::vector<Descriptor>& descriptors) {
    if (!waitForBytes()) return 0;
    iovec piece{bytes, size};
    alignas(cmsghdr)
        std::array<char, CMSG_SPACE(sizeof(ucred)) + CMSG_SPACE(sizeof(int) * kRequestDescriptors)>
            room{};
    msghdr message{};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    message.msg_control = room.data();
    message.msg_controllen = room.size();
    Sender sender;
    // Before the call: descriptors that have arrived must not leak for lack of memory.
    sender.descriptors.reserve(room.size() / sizeof(int));
    ssize_t count = 0;
    do count = posix::systemCalls().recvmsg(client_.socket.get(), &message, MSG_CMSG_CLOEXEC);
    while (count < 0 && errno == EINTR);
    if (count <= 0) return 0;
    readSender(message, client_, sender);
    // MSG_CTRUNC: more descriptors than a request has. SO_PASSCRED adds credentials to every piece,
    // so one without them is not accepted either.
    if (!sender.isClient || (message.msg_flags & (MSG_CTRUNC | MSG_TRUNC)) != 0) return 0;
    descriptors = std::move(sender.descriptors);
    return static_cast<std::size_t>(count);
}

}  // namespace quillmoor::platform::linux_::authorization::helper
