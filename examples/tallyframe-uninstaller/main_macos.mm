// The uninstaller on macOS: finds what is installed of Tallyframe, asks, and moves it to the Trash.
#import <AppKit/AppKit.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "examples/tallyframe-uninstaller/display_text.h"
#include "examples/tallyframe-uninstaller/unattended.h"
#include "examples/tallyframe-uninstaller/uninstall_plan.h"
#include "quillmoor/log/KXLog.h"

namespace {

using namespace quillmoor::tallyframe;  // NOLINT(google-build-using-namespace): a main function

constexpr char kHelp[] =
    "Usage: Tallyframe Uninstaller [--unattended | --help]\n"
    "Finds what is installed of Tallyframe, asks, and moves it to the Trash.\n"
    "\n"
    "  --unattended  asks nothing and shows no alerts; prints a line for each item\n"
    "\n"
    "Environment:\n"
    "  TALLYFRAME_UNINSTALLER_ANSWER=remove  as --unattended\n"
    "\n"
    "Exit status: 0 if Tallyframe was removed or was not installed; 1 if something that should\n"
    "have been moved is left; 2 for an unknown option; 3 if the question was cancelled, with\n"
    "nothing moved.\n";

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr int kCancelled = 3;

bool isGiven(std::string_view option, int argc, char** argv) {
    return std::find(argv + 1, argv + argc, option) != argv + argc;
}

bool isUnattended(int argc, char** argv) {
    const char* const answer = std::getenv("TALLYFRAME_UNINSTALLER_ANSWER");
    return isGiven("--unattended", argc, argv) ||
           (answer != nullptr && std::string_view(answer) == "remove");
}

// Words with one minus sign or none are the system's, such as -psn_0_1 and -NSDocumentRevisions
// YES.
bool hasUnknownOption(int argc, char** argv) {
    return std::any_of(argv + 1, argv + argc, [](std::string_view word) {
        return word.starts_with("--") && word != "--unattended";
    });
}

NSAlert* alertWith(NSString* heading, const std::string& text) {
    NSAlert* const alert = [[[NSAlert alloc] init] autorelease];
    [alert setMessageText:heading];
    [alert setInformativeText:[NSString stringWithUTF8String:text.c_str()]];
    return alert;
}

// The button that changes nothing is the first, which Return presses.
bool confirms(const std::vector<Item>& items) {
    std::string text = "This will be moved to the Trash, from where you can put it back.\n";
    for (const Item& item : items) text.append("\n").append(displayText(item.path));
    NSAlert* const alert = alertWith(@"Remove Tallyframe?", text);
    [alert addButtonWithTitle:@"Cancel"];
    [alert addButtonWithTitle:@"Move to Trash"];
    return [alert runModal] == NSAlertSecondButtonReturn;
}

void show(const std::vector<Report>& reports) {
    std::string text;
    for (const Report& report : reports)
        if (report.fate == Fate::NotMoved) text.append(displayText(report.item.path)).append("\n");
    if (text.empty())
        [alertWith(@"Tallyframe was removed", "You can put it back from the Trash.") runModal];
    else
        [alertWith(@"Tallyframe was not removed completely",
                   "These could not be moved and are still in their place:\n\n" + text) runModal];
}

int removeAfterAsking(const std::vector<Item>& items) {
    [[NSApplication sharedApplication] activateIgnoringOtherApps:YES];
    if (items.empty()) {
        [alertWith(@"Tallyframe is not installed",
                   "Nothing of Tallyframe was found, so there is nothing to remove.") runModal];
        return 0;
    }
    if (!confirms(items)) return kCancelled;
    const std::vector<Report> reports = moveToTrash(items);
    show(reports);
    return allGone(reports) ? 0 : kFailed;
}

}  // namespace

int main(int argc, char** argv) {
    if (isGiven("--help", argc, argv) || isGiven("-h", argc, argv))
        return std::fputs(kHelp, stdout) < 0 ? kFailed : 0;
    if (hasUnknownOption(argc, argv)) {
        std::fputs("Tallyframe Uninstaller: unknown option; --help lists them.\n", stderr);
        return kWrongUsage;
    }
    @autoreleasepool {
        quillmoor::KXLog::createNewLog();
        int status = 0;
        if (isUnattended(argc, argv))
            status = removeUnattended(stdout) ? 0 : kFailed;
        else
            status = removeAfterAsking(findItems());
        quillmoor::KXLog::finishWriting();
        return status;
    }
}
