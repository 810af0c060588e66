// Facts about this process and this computer.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace quillmoor::platform {

// May be called from any thread.
class ProcessInfo {
  public:
    virtual ~ProcessInfo() = default;

    // The real user id; 0 is the super-user.
    virtual unsigned realUserId() = 0;

    // A new string on every call, unique among all processes and hosts.
    virtual std::string globallyUniqueString() = 0;

    // As the system names itself to people.
    virtual std::string operatingSystemVersionString() = 0;

    // Processors that are switched on.
    virtual long processorCount() = 0;

    // Bytes.
    virtual std::uint64_t physicalMemory() = 0;
};

}  // namespace quillmoor::platform
