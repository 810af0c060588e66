// What can be traced.
#pragma once

#include <string_view>

namespace quillmoor::platform::posix {

struct TraceAreas {
    bool files = false;
    bool process = false;
    bool authorization = false;

    bool operator==(const TraceAreas&) const = default;
};

inline constexpr char kTraceFiles[] = "fs";
inline constexpr char kTraceProcess[] = "process";
inline constexpr char kTraceAuthorization[] = "authorization";

// The areas that a list such as "fs,process" names. Other names are reported on standard error, all
// of them in one line.
TraceAreas traceAreas(std::string_view list);

}  // namespace quillmoor::platform::posix
