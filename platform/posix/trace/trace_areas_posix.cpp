#include "quillmoor/platform/posix/trace/trace_areas_posix.h"

#include <algorithm>

#include "quillmoor/platform/posix/trace/trace_line_posix.h"

namespace quillmoor::platform::posix {
namespace {

// False for an unknown name. An empty one, as after a comma at the end, is ignored.
bool choose(std::string_view name, TraceAreas& areas) {
    if (name == kTraceFiles) return areas.files = true;
    if (name == kTraceProcess) return areas.process = true;
    if (name == kTraceAuthorization) return areas.authorization = true;
    return name.empty();
}

}  // namespace

TraceAreas traceAreas(std::string_view list) {
    TraceAreas areas;
    TraceText unknown;
    unknown.add("kx: KX_TRACE: no such area:");
    bool allKnown = true;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(','), list.size());
        const std::string_view name = list.substr(0, end);
        list.remove_prefix(std::min(end + 1, list.size()));
        if (choose(name, areas)) continue;
        allKnown = false;
        unknown.add(" ");
        unknown.addQuoted(name);
    }
    if (allKnown) return areas;
    // The end of the line is kept, however many names are unknown.
    unknown.cut();
    unknown.add("; there are ");
    unknown.add(kTraceFiles);
    unknown.add(", ");
    unknown.add(kTraceProcess);
    unknown.add(" and ");
    unknown.add(kTraceAuthorization);
    unknown.write();
    return areas;
}

}  // namespace quillmoor::platform::posix
