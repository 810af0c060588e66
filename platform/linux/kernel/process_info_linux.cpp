#include "quillmoor/platform/process_info.h"

#include <sys/random.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <optional>

#include "quillmoor/platform/linux/ground/assignments_linux.h"
#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/small_file_posix.h"

namespace quillmoor::platform {
namespace {

constexpr std::size_t kLongestReleaseFile = std::size_t{64} << 10;

// A random UUID, version 4. Where the kernel has no random bytes, the process id and the counter
// that follow it still make each string different.
std::string randomUUID() {
    std::array<unsigned char, 16> b{};
    [[maybe_unused]] const ssize_t filled = linux_::linuxCalls().getrandom(b.data(), b.size(), 0);
    // The version, 4, and the variant, as RFC 4122 places them.
    b[6] = static_cast<unsigned char>((b[6] & 0x0F) | 0x40);
    b[8] = static_cast<unsigned char>((b[8] & 0x3F) | 0x80);
    std::array<char, 37> text{};
    std::snprintf(text.data(), text.size(),
                  "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", b[0],
                  b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13],
                  b[14], b[15]);
    return text.data();
}

// Nanoseconds since the computer was started, and greater than at any earlier call.
std::uint64_t nextCount() {
    static std::atomic<std::uint64_t> last{0};
    const auto now =
        static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    std::uint64_t before = last.load(std::memory_order_relaxed);
    std::uint64_t count = 0;
    do {
        count = std::max(now, before + 1);
    } while (!last.compare_exchange_weak(before, count, std::memory_order_relaxed));
    return count;
}

// As os-release(5) says, the second file counts only where the first is missing.
OptionalString releaseName() {
    for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
        const std::optional<std::string> text = posix::readSmallFile(path, kLongestReleaseFile);
        if (!text) continue;
        OptionalString name = linux_::assignedValue(*text, "PRETTY_NAME");
        return name && !name->empty() ? name : std::nullopt;
    }
    return std::nullopt;
}

std::string kernelName() {
    utsname names{};
    if (::uname(&names) != 0) return "Linux";
    return std::string(names.sysname) + " " + names.release;
}

class LinuxProcessInfo : public ProcessInfo {
  public:
    unsigned realUserId() override { return ::getuid(); }

    std::string globallyUniqueString() override {
        std::array<char, 64> tail{};
        std::snprintf(tail.data(), tail.size(), "-%ld-%016llX", static_cast<long>(::getpid()),
                      static_cast<unsigned long long>(nextCount()));
        return randomUUID() + tail.data();
    }

    std::string operatingSystemVersionString() override {
        return releaseName().value_or(kernelName());
    }

    long processorCount() override { return std::max(1L, ::sysconf(_SC_NPROCESSORS_ONLN)); }

    std::uint64_t physicalMemory() override {
        const long pages = ::sysconf(_SC_PHYS_PAGES);
        const long pageSize = ::sysconf(_SC_PAGESIZE);
        if (pages <= 0 || pageSize <= 0) return 0;
        return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
    }
};

}  // namespace

ProcessInfo* nativeProcessInfo() {
    static auto* const processInfo = new LinuxProcessInfo;
    return processInfo;
}

}  // namespace quillmoor::platform
