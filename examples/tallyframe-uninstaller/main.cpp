// Finds what is installed of Tallyframe, asks, and moves it to the Trash.
#include <QApplication>
#include <cstdio>
#include <string_view>

#include "examples/look/look.h"
#include "examples/tallyframe-uninstaller/unattended.h"
#include "examples/tallyframe-uninstaller/uninstall_plan.h"
#include "examples/tallyframe-uninstaller/uninstaller_window.h"
#include "quillmoor/log/KXLog.h"

namespace {

constexpr char kHelp[] =
    "Usage: Tallyframe Uninstaller [--unattended | --help]\n"
    "Finds what is installed of Tallyframe, asks, and moves it to the Trash.\n"
    "\n"
    "  --unattended  asks nothing and shows no window; prints a line for each item\n"
    "\n"
    "Environment:\n"
    "  TALLYFRAME_UNINSTALLER_ANSWER=remove  answers the question automatically and quits after\n"
    "                                        the report; no display is needed\n"
    "  TALLYFRAME_UNINSTALLER_PICTURES=FOLDER\n"
    "                                        keeps a picture of each page in an existing folder\n"
    "  TALLYFRAME_APPEARANCE=light|dark      instead of the desktop's appearance\n"
    "\n"
    "Exit status: 0 if Tallyframe was removed or was not installed; 1 if something that should\n"
    "have been moved is left, or without a display and an answer; 2 for an unknown option;\n"
    "3 if the question was cancelled, with nothing moved.\n";

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr int kCancelled = 3;

enum class Way { Window, Unattended, Help, Unknown };

// Words without a minus sign are the toolkit's, as is what follows -platform and its like.
Way chosenWay(int argc, char** argv) {
    Way way = Way::Window;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word == "--help" || word == "-h") return Way::Help;
        if (word == "--unattended")
            way = Way::Unattended;
        else if (word.starts_with("--"))
            return Way::Unknown;
    }
    return way;
}

int wrongUsage() {
    std::fputs("Tallyframe Uninstaller: unknown option; --help lists them.\n", stderr);
    return kWrongUsage;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace quillmoor::tallyframe;  // NOLINT(google-build-using-namespace): a main function
    // Before the toolkit, which may need a display.
    const Way way = chosenWay(argc, argv);
    if (way == Way::Help) return std::fputs(kHelp, stdout) < 0 ? kFailed : 0;
    if (way == Way::Unknown) return wrongUsage();
    if (way == Way::Unattended) {
        quillmoor::KXLog::createNewLog();
        const bool isGone = removeUnattended(stdout);
        quillmoor::KXLog::finishWriting();
        return isGone ? 0 : kFailed;
    }
    chooseDisplay();
    const QApplication application(argc, argv);
    applyLook(QStringLiteral("Tallyframe Uninstaller"));
    quillmoor::KXLog::createNewLog();

    const bool isUnattended = qgetenv("TALLYFRAME_UNINSTALLER_ANSWER") == "remove";
    // A question that cannot be seen would wait for its answer without end.
    if (!isUnattended && !canBeSeen()) {
        std::fputs("Tallyframe Uninstaller: there is no display for the question.\n", stderr);
        return kFailed;
    }
    UninstallerWindow window(findItems());
    window.keepPicturesIn(qEnvironmentVariable("TALLYFRAME_UNINSTALLER_PICTURES"));
    window.show();
    if (isUnattended) window.answerAutomatically();
    QApplication::exec();
    if (window.isUnanswered()) return kCancelled;
    return window.isSomethingLeft() ? kFailed : 0;
}
