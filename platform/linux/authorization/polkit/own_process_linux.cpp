#include "quillmoor/platform/linux/authorization/polkit/own_process_linux.h"

#include <charconv>
#include <cstddef>
#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/posix/ground/small_file_posix.h"

namespace quillmoor::platform::linux_::authorization {

std::optional<std::uint64_t> ownStartTime() {
    constexpr int kStartTime = 22;  // counted from 1, as proc(5) does
    constexpr std::size_t kLimit = 4096;
    const OptionalString status = posix::readSmallFile("/proc/self/stat", kLimit);
    if (!status) return std::nullopt;
    std::size_t at = status->rfind(')');  // the second field may have any characters
    for (int field = 2; field < kStartTime && at != std::string::npos; ++field)
        at = status->find(' ', at + 1);
    if (at == std::string::npos) return std::nullopt;
    std::uint64_t time = 0;
    const auto [end, error] =
        std::from_chars(status->data() + at + 1, status->data() + status->size(), time);
    return error == std::errc() ? std::optional(time) : std::nullopt;
}

}  // namespace quillmoor::platform::linux_::authorization
