// copy-with-progress-window SOURCE DESTINATION: copies an item, with the progress in a window and a
// button that stops the copy.
#include <QApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSocketNotifier>
#include <QVBoxLayout>

#include "examples/copy-progress/copy_listener.h"
#include "examples/look/look.h"
#include "quillmoor/platform/main_run_loop.h"

namespace {

using quillmoor::KXFileManager;
using quillmoor::copy_progress::CopyListener;
using quillmoor::copy_progress::description;
using quillmoor::copy_progress::Progress;
using quillmoor::platform::MainRunLoop;
using quillmoor::platform::RunLoopMode;

// A progress bar counts in integers.
constexpr int kSteps = 1000;

// What is copied, how far it is, and a button to stop it.
class CopyWindow : public QWidget {
  public:
    CopyWindow(const QString& what, const std::shared_ptr<CopyListener>& listener)
        : bar_(new QProgressBar), detail_(new QLabel(QStringLiteral("Beginning …"))) {
        setWindowTitle(QStringLiteral("Copy"));
        bar_->setRange(0, kSteps);
        bar_->setAccessibleName(QStringLiteral("Progress of the copy"));
        auto* buttons = new QDialogButtonBox;
        auto* stop = buttons->addButton(QDialogButtonBox::Cancel);
        connect(stop, &QPushButton::clicked, this, [stop, listener] {
            // The copy ends with its next notice, up to a second later.
            stop->setEnabled(false);
            listener->cancel();
        });
        auto* column = new QVBoxLayout(this);
        column->addWidget(new QLabel(what));
        column->addWidget(bar_);
        column->addWidget(detail_);
        column->addWidget(buttons);
        setMinimumWidth(420);
    }

    void show(const Progress& progress) {
        bar_->setValue(static_cast<int>(progress.done * kSteps));
        detail_->setText(QString::fromStdString(description(progress)));
    }

  private:
    QProgressBar* bar_;
    QLabel* detail_;
};

}  // namespace

int main(int argc, char** argv) {
    quillmoor::tallyframe::chooseDisplay();
    const QApplication application(argc, argv);
    quillmoor::tallyframe::applyLook(QStringLiteral("Copy"));
    if (argc != 3) qFatal("usage: copy-with-progress-window SOURCE DESTINATION");

    // The toolkit's event loop drains the library's run loop, which delivers the notices.
    QSocketNotifier notifier(MainRunLoop::descriptor(RunLoopMode::Default), QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated,
                     [] { MainRunLoop::drain(RunLoopMode::Default); });

    const auto listener = std::make_shared<CopyListener>();
    CopyWindow window(QStringLiteral("Copying “%1”").arg(QString::fromLocal8Bit(argv[1])),
                      listener);
    listener->progressed = [&](const Progress& progress) { window.show(progress); };
    listener->finished = [] { QApplication::quit(); };
    if (!KXFileManager::copyFileWithProgress(std::string(argv[1]), std::string(argv[2]), listener,
                                             nullptr))
        return 1;
    // By its full name, as the window's own show() hides it.
    window.QWidget::show();
    QApplication::exec();
    // The end is reported without the result; a copy that fails leaves no destination.
    return KXFileManager::fileExistsAtPath(std::string(argv[2])) ? 0 : 1;
}
