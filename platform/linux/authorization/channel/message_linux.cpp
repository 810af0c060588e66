#include "quillmoor/platform/linux/authorization/channel/message_linux.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using Number = std::uint32_t;

void appendNumber(std::string& body, std::size_t value) {
    const auto number = static_cast<Number>(value);
    char bytes[sizeof number];
    std::memcpy(bytes, &number, sizeof number);
    body.append(bytes, sizeof bytes);
}

// False when the body would get too large, or the text cannot be an argument.
bool appendText(std::string& body, const std::string& text) {
    if (text.find('\0') != std::string::npos ||
        text.size() + sizeof(Number) > kLargestBody - body.size())
        return false;
    appendNumber(body, text.size());
    body += text;
    return true;
}

std::optional<Number> takeNumber(std::string_view& body) {
    Number number = 0;
    if (body.size() < sizeof number) return std::nullopt;
    std::memcpy(&number, body.data(), sizeof number);
    body.remove_prefix(sizeof number);
    return number;
}

std::optional<std::string> takeText(std::string_view& body) {
    const std::optional<Number> size = takeNumber(body);
    if (!size || *size > body.size()) return std::nullopt;
    const std::string_view text = body.substr(0, *size);
    // A program would get the argument cut there.
    if (text.find('\0') != std::string_view::npos) return std::nullopt;
    body.remove_prefix(*size);
    return std::string(text);
}

// Attaches the descriptors to `message`; `room` is their buffer until it has been sent.
void attach(std::span<const int> descriptors, std::span<char> room, msghdr& message) {
    if (descriptors.empty()) return;
    message.msg_control = room.data();
    message.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
    cmsghdr* const control = CMSG_FIRSTHDR(&message);
    control->cmsg_level = SOL_SOCKET;
    control->cmsg_type = SCM_RIGHTS;
    control->cmsg_len = CMSG_LEN(descriptors.size_bytes());
    std::memcpy(CMSG_DATA(control), descriptors.data(), descriptors.size_bytes());
}

// Descriptors are sent with the first bytes, and only once: the rest of a long message follows
// without them.
ssize_t sendStart(int socket, std::span<iovec> pieces, std::span<const int> descriptors) {
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int) * kRequestDescriptors)> room{};
    msghdr message{};
    message.msg_iov = pieces.data();
    message.msg_iovlen = pieces.size();
    attach(descriptors, room, message);
    ssize_t count = 0;
    do count = posix::systemCalls().sendmsg(socket, &message, MSG_NOSIGNAL);
    while (count < 0 && errno == EINTR);
    return count;
}

bool sendRest(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count =
            posix::systemCalls().send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            return false;
    }
    return true;
}

}  // namespace

std::optional<std::string> encodeCommand(const std::string& tool, const StringList& arguments) {
    std::string body;
    appendNumber(body, arguments.size() + 1);
    if (!appendText(body, tool)) return std::nullopt;
    for (const std::string& argument : arguments)
        if (!appendText(body, argument)) return std::nullopt;
    return body;
}

std::optional<StringList> decodeCommand(std::string_view body) {
    const std::optional<Number> count = takeNumber(body);
    // Each text takes the room of its length at least. That also bounds what is reserved for a
    // false number.
    if (!count || *count == 0 || *count > body.size() / sizeof(Number)) return std::nullopt;
    StringList command;
    command.reserve(*count);
    while (command.size() < *count) {
        std::optional<std::string> text = takeText(body);
        if (!text) return std::nullopt;
        command.push_back(*std::move(text));
    }
    // Nothing may follow: a message has exactly one meaning.
    if (!body.empty()) return std::nullopt;
    return command;
}

bool sendMessage(int socket, MessageKind kind, std::string_view body,
                 std::span<const int> descriptors) {
    const MessageHeader header{kMessageMagic, static_cast<std::uint32_t>(kind),
                               static_cast<std::uint32_t>(body.size()),
                               static_cast<std::uint32_t>(descriptors.size())};
    std::string start(reinterpret_cast<const char*>(&header), sizeof header);
    // sendmsg(2) writes to neither; iovec knows no const.
    std::array<iovec, 2> pieces{
        {{start.data(), start.size()}, {const_cast<char*>(body.data()), body.size()}}};
    const ssize_t count = sendStart(socket, pieces, descriptors);
    if (count < 0) return false;
    const auto sent = static_cast<std::size_t>(count);
    if (sent < start.size())
        return sendRest(socket, std::string_view(start).substr(sent)) && sendRest(socket, body);
    return sendRest(socket, body.substr(sent - start.size()));
}

bool receiveBytes(int socket, void* bytes, std::size_t size) {
    ssize_t count = 0;
    auto* next = static_cast<char*>(bytes);
    for (; size > 0; size -= static_cast<std::size_t>(count), next += count) {
        do count = posix::systemCalls().recv(socket, next, size, 0);
        while (count < 0 && errno == EINTR);
        if (count <= 0) return false;
    }
    return true;
}

}  // namespace quillmoor::platform::linux_::authorization
