// Tallyframe: a frame of counters. TALLYFRAME_PICTURES=FOLDER writes tallyframe.png there and
// quits.
#include <QApplication>
#include <QDir>
#include <QTimer>
#include <cstdio>

#include "examples/look/look.h"
#include "examples/tallyframe/tally_window.h"

int main(int argc, char** argv) {
    using namespace quillmoor::tallyframe;  // NOLINT(google-build-using-namespace): a main function
    chooseDisplay();
    const QApplication application(argc, argv);
    applyLook(QStringLiteral("Tallyframe"));

    const QString pictures = qEnvironmentVariable("TALLYFRAME_PICTURES");
    if (pictures.isEmpty() && !canBeSeen()) {
        std::fputs("Tallyframe: there is no display.\n", stderr);
        return 1;
    }
    // The program is in its bundle, in a folder beside that of the resources.
    const QString resources = QApplication::applicationDirPath() + QStringLiteral("/../Resources/");
    TallyWindow window(counterFile(),
                       readCounters(counterFile(), resources + QStringLiteral("Counters.json")));
    window.show();
    if (!pictures.isEmpty()) {
        // In the event loop, once the window is laid out.
        QTimer::singleShot(0, &window, [&] {
            const QString path = QDir(pictures).filePath(QStringLiteral("tallyframe.png"));
            QApplication::exit(window.grab().save(path) ? 0 : 1);
        });
    }
    return QApplication::exec();
}
