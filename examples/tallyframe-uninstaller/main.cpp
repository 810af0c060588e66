// Finds what is installed of Tallyframe, asks, and moves it to the Trash.
#include <QApplication>
#include <cstdio>
#include <string_view>

#include "examples/look/look.h"
#include "examples/tallyframe-uninstaller/uninstall_plan.h"
#include "examples/tallyframe-uninstaller/uninstaller_window.h"
#include "quillmoor/log/KXLog.h"

namespace {

constexpr char kHelp[] =
    "Usage: Tallyframe Uninstaller [--help]\n"
    "Finds what is installed of Tallyframe, asks, and moves it to the Trash.\n"
    "\n"
    "Environment:\n"
    "  TALLYFRAME_UNINSTALLER_ANSWER=remove  answers the question automatically and quits after\n"
    "                                        the report; no display is needed\n"
    "  TALLYFRAME_UNINSTALLER_PICTURES=FOLDER\n"
    "                                        keeps a picture of each page in an existing folder\n"
    "  TALLYFRAME_APPEARANCE=light|dark      instead of the desktop's appearance\n"
    "\n"
    "Exit status: 0 if Tallyframe was removed or was not installed; 1 if something that should\n"
    "have been moved is left, or without a display and an answer; 3 if the question was\n"
    "cancelled, with nothing moved.\n";

constexpr int kFailed = 1;
constexpr int kCancelled = 3;

bool asksForHelp(int argc, char** argv) {
    for (int i = 1; i < argc; ++i)
        if (std::string_view(argv[i]) == "--help" || std::string_view(argv[i]) == "-h") return true;
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace quillmoor::tallyframe;  // NOLINT(google-build-using-namespace): a main function
    // Before the toolkit, which may need a display.
    if (asksForHelp(argc, argv)) return std::fputs(kHelp, stdout) < 0 ? kFailed : 0;
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
