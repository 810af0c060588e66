// The protocol between a client and its helper. The helper is built from this as well.
//
// A message is a header, and a body whose size is in the header. The helper sends Hello; then it
// sends one Reply for each Request. Both ends run on one machine: numbers have its byte order.
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
    Request = 2,  // a tool and its arguments, together with four descriptors
    Reply = 3     // an error number, 0 when the tool was started
};

struct MessageHeader {
    std::uint32_t magic;
    std::uint32_t kind;
    std::uint32_t size;
    std::uint32_t descriptors;
};

// The last byte is the protocol's version.
inline constexpr std::uint32_t kMessageMagic = 0x4b585201;

// The system passes no tool more arguments than this.
inline constexpr std::size_t kLargestBody = std::size_t{2} << 20;

// The descriptors of a request: the tool's three standard streams and its working folder. A client
// that cannot open its folder sends any descriptor that is not a folder.
enum RequestDescriptor : std::size_t { kToolInput, kToolOutput, kToolError, kToolFolder };
inline constexpr std::size_t kRequestDescriptors = 4;

using ReplyBody = std::int32_t;

// The tool and its arguments as a body; nil when it would be too large, or a text has a NUL.
std::optional<std::string> encodeCommand(const std::string& tool, const StringList& arguments);

// The tool, then its arguments; nil unless `body` is exactly what encodeCommand() produces.
std::optional<StringList> decodeCommand(std::string_view body);

// Sends the whole message; raises no signal. Returns false with errno set: ETOOMANYREFS when
// nothing was sent because too many descriptors are in transit.
bool sendMessage(int socket, MessageKind kind, std::string_view body,
                 std::span<const int> descriptors = {});

// Waits for exactly `size` bytes. False when the peer has closed its end, or after an error.
bool receiveBytes(int socket, void* bytes, std::size_t size);

}  // namespace quillmoor::platform::linux_::authorization
