// The host's exception: why an action failed or a bundle could not be loaded.
#pragma once

#include <stdexcept>

namespace quillmoor::host {

// The message is for people and has no final stop. Never thrown out of the host into a plug-in.
class HostError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace quillmoor::host
