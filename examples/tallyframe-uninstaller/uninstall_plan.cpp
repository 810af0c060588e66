#include "examples/tallyframe-uninstaller/uninstall_plan.h"

#include <algorithm>

#include "base/paths.h"
#include "examples/tallyframe-uninstaller/display_text.h"
#include "log/KXLog.h"
#include "paths/KXLocalPaths.h"
#include "platform/platform.h"

namespace quillmoor::tallyframe {
namespace {

constexpr const char* kIdentifier = "com.quillmoor.tallyframe";
constexpr const char* kSupportFolder = "Tallyframe";

Fate moveToTrash(const Item& item) {
    const platform::Platform& system = platform::current();
    if (system.workspace->recycle(deleteLastPathComponent(item.path),
                                  KXLocalPaths::trashDirectory(), {lastPathComponent(item.path)}))
        return Fate::Moved;
    return system.fileManager->fileExists(item.path) ? Fate::NotMoved : Fate::Missing;
}

void log(const Report& report) {
    const std::string path = displayText(report.item.path);
    switch (report.fate) {
        case Fate::Moved:
            return KXLog::appendLog("Moved to the Trash: %@", path);
        case Fate::Missing:
            return KXLog::appendLog("No longer there: %@", path);
        case Fate::NotMoved:
            return KXLog::appendLog("Could not be moved to the Trash: %@", path);
    }
}

}  // namespace

std::vector<Item> findItems() {
    const platform::Platform& system = platform::current();
    std::vector<Item> items;
    if (const OptionalPath path = system.workspace->absolutePathForAppBundle(kIdentifier))
        items.push_back({Item::Kind::Application, *path});
    const OptionalPath support =
        appendPathComponent(KXLocalPaths::appSupportDirectory(UserDomain::Yes), kSupportFolder);
    if (support && system.fileManager->isDirectory(*support))
        items.push_back({Item::Kind::SupportFolder, *support});
    return items;
}

std::vector<Report> moveToTrash(const std::vector<Item>& items) {
    std::vector<Report> reports;
    for (const Item& item : items) {
        reports.push_back({item, moveToTrash(item)});
        log(reports.back());
    }
    return reports;
}

bool allGone(const std::vector<Report>& reports) {
    return std::none_of(reports.begin(), reports.end(),
                        [](const Report& report) { return report.fate == Fate::NotMoved; });
}

}  // namespace quillmoor::tallyframe
