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

bool removeUnattended(std::ostream& out) {
    const std::vector<Report> reports = moveToTrash(findItems());
    if (reports.empty()) out << "Tallyframe is not installed.\n";
    for (const Report& report : reports)
        out << stateOf(report.fate) << ": " << displayText(report.item.path) << '\n';
    out.flush();
    return allGone(reports);
}

}  // namespace quillmoor::tallyframe
