#include "examples/tallyframe-uninstaller/uninstall_plan.h"

#include <algorithm>
#include <chrono>

#include "examples/tallyframe-uninstaller/display_text.h"
#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/log/KXLog.h"
#include "quillmoor/paths/KXLocalPaths.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor::tallyframe {
namespace {

constexpr const char* kIdentifier = "com.quillmoor.tallyframe";
constexpr const char* kSupportFolder = "Tallyframe";

// Long enough for a tool with administrator rights to copy a product to another file system.
constexpr std::chrono::seconds kLongestMove{60};

// Asks for administrator rights if the user's own are not sufficient.
Fate moveToTrash(const Item& item) {
    // Looked at first, as trashFile returns true for a missing item.
    if (!KXFileManager::fileExistsAtPath(item.path)) return Fate::Missing;
    return KXFileManager::trashFile(item.path, kLongestMove) ? Fate::Moved : Fate::NotMoved;
}

void log(const Report& report) {
    // A name with a line break must not look like a second line of the log.
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
    if (const OptionalPath path = system.applications->absolutePathForAppBundle(kIdentifier))
        items.push_back({Item::Kind::Application, *path});
    // Only the user's own folder: counters of other users are theirs.
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
