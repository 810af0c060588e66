// Finds what is there of Tallyframe, asks, and moves it to the Trash.
//
// Nobody at the screen? TALLYFRAME_UNINSTALLER_ANSWER=remove presses the button and quits after the
// report. TALLYFRAME_UNINSTALLER_PICTURES=FOLDER keeps a picture of each page there. The exit
// status is 1 when something is left that should have gone, or when nobody could answer.
#include <QApplication>
#include <cstdio>

#include "examples/look/look.h"
#include "examples/tallyframe-uninstaller/uninstall_plan.h"
#include "examples/tallyframe-uninstaller/uninstaller_window.h"
#include "log/KXLog.h"

int main(int argc, char** argv) {
    using namespace quillmoor::tallyframe;  // NOLINT(google-build-using-namespace): a main function
    chooseDisplay();
    const QApplication application(argc, argv);
    applyLook(QStringLiteral("Tallyframe Uninstaller"));
    quillmoor::KXLog::createNewLog();

    const bool isUnattended = qgetenv("TALLYFRAME_UNINSTALLER_ANSWER") == "remove";
    if (!isUnattended && !canBeSeen()) {
        std::fputs("Tallyframe Uninstaller: there is no display, so nobody could answer.\n",
                   stderr);
        return 1;
    }
    UninstallerWindow window(findItems());
    window.keepPicturesIn(qEnvironmentVariable("TALLYFRAME_UNINSTALLER_PICTURES"));
    window.show();
    if (isUnattended) window.answerByItself();
    QApplication::exec();
    return window.isSomethingLeft() ? 1 : 0;
}
