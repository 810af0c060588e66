#include "examples/tallyframe-uninstaller/unattended.h"

#include "examples/tallyframe-uninstaller/display_text.h"
#include "examples/tallyframe-uninstaller/uninstall_plan.h"

namespace quillmoor::tallyframe {
namespace {

const char* stateOf(Fate fate) {
    switch (fate) {
        case Fate::Moved:
            return "moved to the Trash";
        case Fate::Missing:
            return "no longer there";
        case Fate::NotMoved:
            break;
    }
    return "could not be moved";
}

}  // namespace

bool removeUnattended(std::FILE* out) {
    const std::vector<Report> reports = moveToTrash(findItems());
    if (reports.empty()) std::fputs("Tallyframe is not installed.\n", out);
    for (const Report& report : reports)
        std::fprintf(out, "%s: %s\n", stateOf(report.fate), displayText(report.item.path).c_str());
    std::fflush(out);
    return allGone(reports);
}

}  // namespace quillmoor::tallyframe
