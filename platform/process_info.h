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

    // The real user id; 0 is root.
    virtual unsigned realUserId() = 0;

    // A new string on every call, unique among all processes and hosts.
    virtual std::string globallyUniqueString() = 0;

    // The system's name and version, as it presents them to people.
    virtual std::string operatingSystemVersionString() = 0;

    // Processors that are online.
    virtual long processorCount() = 0;

    // Bytes.
    virtual std::uint64_t physicalMemory() = 0;
};

}  // namespace quillmoor::platform
