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
    const std::vector<Item> items = findItems();
    if (items.empty()) std::fputs("Tallyframe is not installed.\n", out);
    bool isGone = true;
    for (const Item& item : items) {
        // Each is named before the next is moved: who ends this must know what was moved.
        const std::vector<Report> reports = moveToTrash({item});
        std::fprintf(out, "%s: %s\n", stateOf(reports.front().fate),
                     displayText(item.path).c_str());
        std::fflush(out);
        isGone = allGone(reports) && isGone;
    }
    const bool isWritten = std::fflush(out) == 0 && std::ferror(out) == 0;
    return isGone && isWritten;
}

}  // namespace quillmoor::tallyframe
