// The peer that the host's start is measured against: a label in a window.
#include "bench/host/bare_window.h"

#include <QLabel>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    quillmoor::bench::setFont();
    quillmoor::bench::BareWindow window(new QLabel(QStringLiteral("Hello")));
    window.show();
    return QApplication::exec();
}
