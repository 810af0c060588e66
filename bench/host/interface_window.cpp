// The toolkit's own time for a pane: loads and paints its interface file.
// bench_interface_window FILE
#include <QFile>
#include <QUiLoader>
#include <cstdlib>

#include "bench/host/bare_window.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    if (QApplication::arguments().size() != 2) return EXIT_FAILURE;
    quillmoor::bench::setFont();
    QFile file(QApplication::arguments().at(1));
    QWidget* const pane = file.open(QFile::ReadOnly) ? QUiLoader().load(&file) : nullptr;
    if (pane == nullptr) return EXIT_FAILURE;
    quillmoor::bench::BareWindow window(pane);
    window.show();
    return QApplication::exec();
}
