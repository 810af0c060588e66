// Receiving requests from the client only.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "quillmoor/platform/linux/authorization/channel/message_linux.h"
#include "quillmoor/platform/linux/authorization/helper/client_linux.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization::helper {

struct Request {
    StringList command;                          // the tool, then its arguments
    std::vector<posix::Descriptor> descriptors;  // kRequestDescriptors
};

class Receiver {
  public:
    // `client` outlives this.
    explicit Receiver(const Client& client) : client_(client) {}

    // Waits for a request; nil when the session is over: the client has ended or has closed its
    // end, another process has sent bytes, or the message was not a request.
    std::optional<Request> next();

  private:
    // Stores the descriptors that come with the bytes in `descriptors`; where that is null, any
    // descriptor is an error.
    bool receive(void* bytes, std::size_t size, std::vector<posix::Descriptor>* descriptors);
    bool waitForBytes();
    std::size_t receiveSome(void* bytes, std::size_t size,
                            std::vector<posix::Descriptor>& descriptors);

    const Client& client_;
};

}  // namespace quillmoor::platform::linux_::authorization::helper
