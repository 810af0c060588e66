// Why something that the host was to do or to load failed.
#pragma once

#include <stdexcept>

namespace quillmoor::host {

// In words for the person who sees it, without a final stop. Never leaves the host.
class HostError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace quillmoor::host
