// What a process and its helper say to each other. The helper is built from this as well.
//
// A message is a header, and a body of as many bytes as the header says. The helper greets; then
// each request is answered by one reply. Both ends run on one machine: numbers are as they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_::authorization {

enum class MessageKind : std::uint32_t {
    Hello = 1,
    Request = 2,  // a tool and its arguments; its four descriptors come along
    Reply = 3     // an error number, 0 when the tool was started
};

struct MessageHeader {
    std::uint32_t magic;
    std::uint32_t kind;
    std::uint32_t size;
    std::uint32_t descriptors;
};

// Ends in the protocol's version.
inline constexpr std::uint32_t kMessageMagic = 0x4b585201;

// More arguments no tool can be given.
inline constexpr std::size_t kLargestBody = std::size_t{2} << 20;

// Of a request: the tool's three standard streams and its working folder. A client that has none to
// give sends anything that is not a folder in its place.
enum RequestDescriptor : std::size_t { kToolInput, kToolOutput, kToolError, kToolFolder };
inline constexpr std::size_t kRequestDescriptors = 4;

using ReplyBody = std::int32_t;

// The tool and its arguments as a body; nil when it would be too large, or a text holds a NUL.
std::optional<std::string> encodeCommand(const std::string& tool, const StringList& arguments);

// The tool, then its arguments; nil when `body` is anything but what encodeCommand() makes.
std::optional<StringList> decodeCommand(std::string_view body);

// Sends all of it and raises no signal. NO with errno set; ETOOMANYREFS when nothing was sent
// because too many descriptors are on their way.
bool sendMessage(int socket, MessageKind kind, std::string_view body,
                 std::span<const int> descriptors = {});

// Waits for exactly `size` bytes. NO when the other end has gone.
bool receiveBytes(int socket, void* bytes, std::size_t size);

}  // namespace quillmoor::platform::linux_::authorization
