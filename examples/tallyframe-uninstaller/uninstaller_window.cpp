#include "examples/tallyframe-uninstaller/uninstaller_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QThread>
#include <QTimer>
#include <chrono>

#include "examples/look/look.h"
#include "examples/tallyframe-uninstaller/display_text.h"

namespace quillmoor::tallyframe {
namespace {

constexpr int kWidth = 560;
// An unattended run shows the question for this long.
constexpr auto kTimeToLook = std::chrono::milliseconds(200);

QString titleOf(Item::Kind kind) {
    return kind == Item::Kind::Application ? UninstallerWindow::tr("Application")
                                           : UninstallerWindow::tr("Counters and settings");
}

// The path may break after each slash.
QString pathText(const Item& item) {
    QString text = QString::fromStdString(displayText(item.path));
    return text.replace(QLatin1Char('/'), QStringLiteral("/\u200B"));
}

QString stateOf(Fate fate) {
    switch (fate) {
        case Fate::Moved:
            return UninstallerWindow::tr("Moved to the Trash");
        case Fate::Missing:
            return UninstallerWindow::tr("Was no longer there");
        case Fate::NotMoved:
            break;
    }
    return UninstallerWindow::tr("Could not be moved; it is still in its place");
}

}  // namespace

UninstallerWindow::UninstallerWindow(std::vector<Item> items)
    : items_(std::move(items)),
      heading_(newLabel(this, "title")),
      explanation_(newLabel(this, "body")),
      cards_(new QVBoxLayout),
      move_(new QPushButton(tr("&Move to Trash"), this)),
      close_(new QPushButton(tr("&Cancel"), this)) {
    setWindowTitle(tr("Tallyframe Uninstaller"));
    setFixedWidth(kWidth);
    auto* list = new QWidget;
    list->setLayout(cards_);
    cards_->setContentsMargins(0, 0, 0, 0);
    cards_->setSpacing(10);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(move_);
    buttons->addSpacing(8);
    buttons->addWidget(close_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(28, 26, 28, 24);
    layout->setSpacing(0);
    layout->addWidget(heading_);
    layout->addSpacing(8);
    layout->addWidget(explanation_);
    layout->addSpacing(18);
    layout->addWidget(list);
    layout->addSpacing(24);
    layout->addLayout(buttons);

    move_->setObjectName(QStringLiteral("moveButton"));
    close_->setObjectName(QStringLiteral("closeButton"));
    connect(qApp, &QApplication::focusChanged, this,
            [this](QWidget*, QWidget* now) { markWhatReturnPresses(now); });
    markWhatReturnPresses(nullptr);
    close_->setFocus();
    connect(move_, &QPushButton::clicked, this, &UninstallerWindow::startMoving);
    connect(close_, &QPushButton::clicked, this, &QWidget::close);
    items_.empty() ? showNothingFound() : showQuestion();
}

UninstallerWindow::~UninstallerWindow() {
    // Each button that is destroyed passes the focus on, and the handler would use buttons that are
    // destroyed already.
    disconnect(qApp, nullptr, this, nullptr);
    if (worker_) worker_->wait();
}

void UninstallerWindow::showQuestion() {
    heading_->setText(tr("Remove Tallyframe?"));
    explanation_->setText(tr("This will be moved to the Trash, from where you can put it back."));
    for (const Item& item : items_) addCard(item);
}

void UninstallerWindow::showNothingFound() {
    heading_->setText(tr("Tallyframe is not installed"));
    explanation_->setText(tr("Nothing of Tallyframe was found, so there is nothing to remove."));
    settle();
}

void UninstallerWindow::startMoving() {
    takePicture(QStringLiteral("uninstaller-question.png"));
    move_->setEnabled(false);
    close_->setEnabled(false);
    heading_->setText(tr("Moving Tallyframe to the Trash…"));
    // On a thread, as the password prompt and a move between file systems take long.
    worker_.reset(QThread::create([this] { reports_ = moveToTrash(items_); }));
    connect(worker_.get(), &QThread::finished, this, &UninstallerWindow::finishMoving);
    worker_->start();
}

void UninstallerWindow::finishMoving() {
    // The signal is emitted by the thread just before it ends.
    worker_->wait();
    worker_.reset();
    isSomethingLeft_ = !allGone(reports_);
    showReport();
    takePicture(QStringLiteral("uninstaller-report.png"));
    if (answersAutomatically_) close();
}

void UninstallerWindow::showReport() {
    heading_->setText(isSomethingLeft_ ? tr("Tallyframe was not removed completely")
                                       : tr("Tallyframe was removed"));
    explanation_->setText(isSomethingLeft_
                              ? tr("Some of it could not be moved. Your user may lack the rights "
                                   "to change the folder that holds it.")
                              : tr("You can put it back from the Trash until that is emptied."));
    replaceCards();
    settle();
    fitHeight();
}

// The end: nothing can be moved any more, and the remaining button closes the window.
void UninstallerWindow::settle() {
    move_->hide();
    close_->setText(tr("&Close"));
    close_->setEnabled(true);
    close_->setFocus();
}

void UninstallerWindow::replaceCards() {
    while (QLayoutItem* old = cards_->takeAt(0)) {
        delete old->widget();
        delete old;
    }
    for (const Report& report : reports_) addCard(report.item, report.fate);
}

void UninstallerWindow::addCard(const Item& item, std::optional<Fate> fate) {
    auto* card = newCard(this);
    auto* lines = new QVBoxLayout(card);
    lines->setContentsMargins(16, 12, 16, 12);
    lines->setSpacing(3);
    const auto add = [&](const char* style, const QString& text) {
        QLabel* label = newLabel(card, style);
        label->setText(text);
        lines->addWidget(label);
        return label;
    };
    add("heading", titleOf(item.kind));
    QLabel* path = add("path", pathText(item));
    // Without the characters that only allow line breaks.
    path->setAccessibleName(QString::fromStdString(displayText(item.path)));
    if (fate) add(*fate == Fate::NotMoved ? "warning" : "good", stateOf(*fate));
    cards_->addWidget(card);
    // A widget that is added to a visible window is hidden at first.
    card->show();
}

// Return presses the button that has the focus, else the one that changes nothing.
void UninstallerWindow::markWhatReturnPresses(const QWidget* focus) {
    move_->setDefault(focus == move_);
    close_->setDefault(focus != move_);
}

// The labels wrap, so the height follows from the width; a window of fixed width does not adapt it.
void UninstallerWindow::fitHeight() {
    layout()->activate();
    setFixedHeight(layout()->totalHeightForWidth(kWidth));
}

void UninstallerWindow::showEvent(QShowEvent* event) {
    fitHeight();
    QWidget::showEvent(event);
}

void UninstallerWindow::answerAutomatically() {
    answersAutomatically_ = true;
    QTimer::singleShot(kTimeToLook, this, [this] {
        if (!items_.empty()) return move_->click();
        takePicture(QStringLiteral("uninstaller-report.png"));
        close();
    });
}

void UninstallerWindow::takePicture(const QString& name) {
    if (pictureFolder_.isEmpty()) return;
    const QString path = QDir(pictureFolder_).filePath(name);
    if (!grab().save(path)) qWarning("The picture %s could not be written.", qUtf8Printable(path));
}

// The window cannot be closed while items are being moved.
void UninstallerWindow::closeEvent(QCloseEvent* event) {
    event->setAccepted(worker_ == nullptr);
}

void UninstallerWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        close();
    } else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        close_->click();
    } else {
        QWidget::keyPressEvent(event);
    }
}

}  // namespace quillmoor::tallyframe
