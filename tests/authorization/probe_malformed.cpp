#include "tests/authorization/probe_malformed.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <utility>
#include <vector>

#include "quillmoor/platform/linux/authorization/channel/message_linux.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/authorization/probe_attacks.h"

namespace quillmoor::probe {
namespace {

namespace authorization = platform::linux_::authorization;

constexpr std::uint32_t kLargestNumber = 0xffffffff;
constexpr int kAnswerMilliseconds = 5000;

// One message, and what is wrong with it.
struct Frame {
    authorization::MessageHeader header;
    std::string body;
    std::size_t descriptors = authorization::kRequestDescriptors;  // that come with the header
    std::size_t lateDescriptors = 0;                               // that come with the body
    std::size_t cut = 0;  // bytes at the end that never come
};

using Flaw = std::function<void(Frame&)>;

void setNumber(Frame& frame, std::size_t offset, std::uint32_t number) {
    std::memcpy(frame.body.data() + offset, &number, sizeof number);
}

void setBody(Frame& frame, std::string body) {
    frame.body = std::move(body);
    frame.header.size = static_cast<std::uint32_t>(frame.body.size());
}

Flaw withKind(std::uint32_t kind) {
    return [kind](Frame& frame) { frame.header.kind = kind; };
}

Flaw withSize(std::size_t size) {
    return [size](Frame& frame) { frame.header.size = static_cast<std::uint32_t>(size); };
}

// A body begins with the number of texts, then the length of the first text.
Flaw withNumber(std::size_t place, std::uint32_t number) {
    return [=](Frame& frame) { setNumber(frame, place * sizeof number, number); };
}

Flaw withDescriptors(std::size_t announced, std::size_t sent, std::size_t late = 0) {
    return [=](Frame& frame) {
        frame.header.descriptors = static_cast<std::uint32_t>(announced);
        frame.descriptors = sent;
        frame.lateDescriptors = late;
    };
}

const std::vector<std::pair<std::string, Flaw>>& flaws() {
    static const std::vector<std::pair<std::string, Flaw>> all = {
        {"another protocol", [](Frame& frame) { ++frame.header.magic; }},
        {"a greeting", withKind(1)},
        {"a reply", withKind(3)},
        {"an unknown kind", withKind(kLargestNumber)},
        {"a body of four gigabytes", withSize(kLargestNumber)},
        {"a body just too large", withSize(authorization::kLargestBody + 1)},
        {"no body", [](Frame& frame) { setBody(frame, ""); }},
        {"a body with bytes left over", [](Frame& frame) { setBody(frame, frame.body + "xxxx"); }},
        {"half a header", [](Frame& frame) { frame.cut = frame.body.size() + 8; }},
        {"half a body", [](Frame& frame) { frame.cut = frame.body.size() / 2; }},
        {"a body that ends a byte early", [](Frame& frame) { frame.cut = 1; }},
        {"no tool", withNumber(0, 0)},
        {"a text more than there is", withNumber(0, 3)},
        {"a text less than there is", withNumber(0, 1)},
        {"more texts than any body holds", withNumber(0, kLargestNumber)},
        {"a length beyond the body", withNumber(1, 0x7fffffff)},
        {"a length that wraps around", withNumber(1, kLargestNumber - 3)},
        {"a NUL in the tool", [](Frame& frame) { frame.body[2 * sizeof(std::uint32_t)] = '\0'; }},
        {"a NUL in an argument", [](Frame& frame) { frame.body.back() = '\0'; }},
        {"descriptors that are not announced", withDescriptors(0, 4)},
        {"descriptors that do not come", withDescriptors(4, 0)},
        {"no descriptors", withDescriptors(0, 0)},
        {"a descriptor too few", withDescriptors(3, 3)},
        {"a descriptor less than announced", withDescriptors(4, 3)},
        {"a descriptor too many", withDescriptors(5, 5)},
        {"a descriptor more than announced", withDescriptors(4, 5)},
        {"very many descriptors", withDescriptors(4, 200)},
        {"as many descriptors as a number can hold", withDescriptors(kLargestNumber, 4)},
        {"descriptors with the body", withDescriptors(4, 4, 4)},
        {"descriptors with the body alone", withDescriptors(4, 0, 4)}};
    return all;
}

Frame requestFor(const std::string& file) {
    Frame frame;
    frame.header = {authorization::kMessageMagic,
                    static_cast<std::uint32_t>(authorization::MessageKind::Request), 0,
                    authorization::kRequestDescriptors};
    setBody(frame, authorization::encodeCommand("/usr/bin/touch", {file}).value_or(""));
    return frame;
}

void sendPiece(int channel, std::string bytes, std::size_t count) {
    if (bytes.empty()) return;
    const platform::posix::Descriptor folder(::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::vector<int> descriptors(count, folder.get());
    std::vector<char> room(CMSG_SPACE(count * sizeof(int)));
    iovec piece{bytes.data(), bytes.size()};
    msghdr message{};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    if (count > 0) {
        message.msg_control = room.data();
        message.msg_controllen = room.size();
        cmsghdr* const control = CMSG_FIRSTHDR(&message);
        control->cmsg_level = SOL_SOCKET;
        control->cmsg_type = SCM_RIGHTS;
        control->cmsg_len = CMSG_LEN(count * sizeof(int));
        std::memcpy(CMSG_DATA(control), descriptors.data(), count * sizeof(int));
    }
    // The helper may have ended at the first piece.
    static_cast<void>(::sendmsg(channel, &message, MSG_NOSIGNAL));
}

void send(int channel, const Frame& frame) {
    std::string header(reinterpret_cast<const char*>(&frame.header), sizeof frame.header);
    std::string body = frame.body;
    const std::size_t fromBody = std::min(frame.cut, body.size());
    body.resize(body.size() - fromBody);
    header.resize(header.size() - (frame.cut - fromBody));
    sendPiece(channel, std::move(header), frame.descriptors);
    sendPiece(channel, std::move(body), frame.lateDescriptors);
    if (frame.cut > 0) ::shutdown(channel, SHUT_WR);
}

std::string reactionOf(int channel) {
    pollfd polled{channel, POLLIN, 0};
    if (::poll(&polled, 1, kAnswerMilliseconds) <= 0) return "open";
    char byte = 0;
    return ::recv(channel, &byte, sizeof byte, MSG_PEEK) > 0 ? "answered" : "closed";
}

}  // namespace

std::string malformations(const StringList&) {
    std::string names;
    for (const auto& [name, flaw] : flaws()) names += (names.empty() ? "" : "\t") + name;
    return names;
}

std::string sendMalformed(const StringList& words) {
    const int channel = channelDescriptor();
    if (channel < 0) return "no channel";
    for (const auto& [name, flaw] : flaws()) {
        if (name != words.at(1)) continue;
        Frame frame = requestFor(words.at(2));
        flaw(frame);
        send(channel, frame);
        return reactionOf(channel);
    }
    return "unknown";
}

}  // namespace quillmoor::probe
