#include "host/window/installer_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>
#include <utility>

#include "host/ground/display_text.h"
#include "host/window/artwork.h"
#include "host/window/host_style.h"
#include "host/window/page_area.h"

namespace quillmoor::host {
namespace {

constexpr QSize kSize(820, 530);
constexpr QSize kLeastSize(660, 440);
// Room for the window manager's frame, whose size is known only once the window is on screen.
constexpr QSize kFrame(16, 48);
constexpr int kRailWidth = 232;
constexpr int kRailMargin = 26;
constexpr int kMargin = 32;

QLabel* newLabel(const QString& text, const char* style, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    // Names from bundles must not be taken for markup.
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setProperty("textStyle", QLatin1String(style));
    return label;
}

}  // namespace

InstallerWindow::InstallerWindow(const ProductName& product,
                                 const std::vector<StepList::Step>& steps, const Setting& setting)
    : setting_(setting), steps_(steps) {
    // Before there are widgets to polish, and pages to lay out, a second time.
    applyAppearance(*this, setting_.appearance);
    setWindowTitle(translated("Install %1").arg(product.inSentence));
    setObjectName(QStringLiteral("installerWindow"));
    auto* columns = new QHBoxLayout(this);
    columns->setContentsMargins(0, 0, 0, 0);
    columns->setSpacing(0);
    columns->addWidget(makeRail(product, steps));
    columns->addWidget(makeMain(steps.size()), 1);
    setTabOrder(goBack_, continue_);
    setTabOrder(continue_, close_);
    setMinimumSize(kLeastSize);
    resize(kSize);
}

QWidget* InstallerWindow::makeRail(const ProductName& product,
                                   const std::vector<StepList::Step>& steps) {
    auto* rail = new QWidget(this);
    rail->setFixedWidth(kRailWidth);
    rail->setProperty("part", "rail");
    auto* column = new QVBoxLayout(rail);
    column->setContentsMargins(kRailMargin - StepList::kInset, kMargin,
                               kRailMargin - StepList::kInset, kMargin - 4);
    column->setSpacing(0);
    auto* heading = new QVBoxLayout;
    heading->setContentsMargins(StepList::kInset, 0, StepList::kInset, 26);
    heading->setSpacing(0);
    heading->addWidget(new Artwork(Artwork::Picture::Package, 56, rail));
    heading->addSpacing(14);
    heading->addWidget(newLabel(product.atStart, "heading", rail));
    heading->addSpacing(2);
    auto* caption = newLabel(translated("Installer"), "", rail);
    caption->setForegroundRole(QPalette::PlaceholderText);
    heading->addWidget(caption);
    column->addLayout(heading);
    list_ = new StepList(steps, rail);
    column->addWidget(list_);
    column->addStretch(1);
    return rail;
}

QWidget* InstallerWindow::makeMain(std::size_t steps) {
    auto* main = new QWidget(this);
    auto* column = new QVBoxLayout(main);
    column->setContentsMargins(kMargin, kMargin - 4, kMargin, kMargin - 8);
    column->setSpacing(0);
    progress_ = newLabel(QString(), "", main);
    progress_->setObjectName(QStringLiteral("stepProgress"));
    progress_->setForegroundRole(QPalette::PlaceholderText);
    column->addWidget(progress_);
    column->addSpacing(2);
    title_ = newLabel(QString(), "title", main);
    title_->setObjectName(QStringLiteral("paneTitle"));
    column->addWidget(title_);
    column->addSpacing(18);
    for (std::size_t i = 0; i < steps; ++i) {
        pages_.push_back(newPageArea(main));
        pages_.back()->hide();
        column->addWidget(pages_.back(), 1);
    }
    column->addSpacing(20);
    column->addLayout(makeButtons());
    return main;
}

QLayout* InstallerWindow::makeButtons() {
    goBack_ = new QPushButton(translated("Go &Back"), this);
    goBack_->setObjectName(QStringLiteral("goBackButton"));
    continue_ = new QPushButton(translated("&Continue"), this);
    continue_->setObjectName(QStringLiteral("continueButton"));
    continue_->setDefault(true);
    close_ = new QPushButton(translated("&Close"), this);
    close_->setObjectName(QStringLiteral("closeButton"));
    // Two defaults: only one of them is visible at any step.
    close_->setDefault(true);
    // Return presses it while it has the focus.
    goBack_->setAutoDefault(true);
    connect(goBack_, &QPushButton::clicked, this, [this] {
        if (onGoBack) onGoBack();
    });
    connect(continue_, &QPushButton::clicked, this, [this] {
        if (onContinue) onContinue();
    });
    connect(close_, &QPushButton::clicked, this, [this] { close(); });
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        markWhatReturnPresses(now);
        frameFocus(now);
    });

    auto* row = new QHBoxLayout;
    row->setSpacing(12);
    row->addStretch(1);
    for (QPushButton* button : {goBack_, continue_, close_}) row->addWidget(button);
    return row;
}

void InstallerWindow::setPage(std::size_t step, std::unique_ptr<QWidget> page) {
    // Return presses only those buttons that are auto-default when they have the focus.
    for (QPushButton* button : page->findChildren<QPushButton*>()) button->setAutoDefault(true);
    host::setPage(*pages_[step], std::move(page));
    pages_[step]->setAccessibleName(steps_[step].title);
    dressed_ = false;
}

void InstallerWindow::showStep(std::size_t step) {
    pages_[shown_]->hide();
    shown_ = step;
    list_->setCurrent(step);
    title_->setText(steps_[step].title);
    progress_->setText(translated("Step %1 of %2").arg(step + 1).arg(steps_.size()));
    // Pages were added since it was last applied.
    if (!std::exchange(dressed_, true)) applyAppearance(*this, setting_.appearance);
    alignLabels(*this);
    pages_[step]->show();
    goBack_->setEnabled(step > 0);
    continue_->setVisible(!isLast());
    close_->setVisible(isLast());
    // After the buttons' visibility: a hidden one does not get the focus.
    mainButton()->setFocus(Qt::OtherFocusReason);
    describe(step);
}

// A screen reader reads the description of the button that has the focus, and thus the new step.
void InstallerWindow::describe(std::size_t step) {
    const QString where = title_->text() + QStringLiteral(", ") + progress_->text();
    mainButton()->setAccessibleDescription(where);
    goBack_->setAccessibleDescription(
        step > 0 ? translated("Back to %1").arg(steps_[step - 1].title) : QString());
}

bool InstallerWindow::isLast() const {
    return shown_ + 1 == steps_.size();
}

QPushButton* InstallerWindow::mainButton() const {
    return isLast() ? close_ : continue_;
}

// The one button that Return presses is highlighted: the one that has the focus, else the main one.
void InstallerWindow::markWhatReturnPresses(QWidget* focus) {
    const auto* button = qobject_cast<QPushButton*>(focus);
    const bool elsewhere = button != nullptr && button != mainButton() && button->window() == this;
    for (QPushButton* each : {continue_, close_}) each->setDefault(!elsewhere);
}

// Puts a frame around the button that has the focus, in this window or in its question.
void InstallerWindow::frameFocus(QWidget* focus) {
    auto* button = qobject_cast<QPushButton*>(focus);
    const bool isOurs =
        button != nullptr && (button->window() == this || button->window()->parentWidget() == this);
    // The frame becomes a child of its button's parent and may have been destroyed with it.
    if (focusFrame_.isNull()) focusFrame_ = new QFocusFrame(this);
    focusFrame_->setWidget(isOurs ? button : nullptr);
}

QWidget* InstallerWindow::widgetNamed(const QString& name) const {
    if (auto* onPage = pages_[shown_]->findChild<QWidget*>(name)) return onPage;
    return findChild<QWidget*>(name);
}

// Window managers do not shrink a window that is larger than the screen. The buttons at its lower
// edge would be off screen.
void InstallerWindow::fitScreen() {
    const QSize room = screen()->availableSize() - kFrame;
    setMinimumSize(kLeastSize.boundedTo(room));
    resize(size().boundedTo(room));
}

void InstallerWindow::showMnemonics(bool areShown) {
    if (auto* style = dynamic_cast<HostStyle*>(QApplication::style()))
        style->setMnemonicsShown(areShown, *this);
}

bool InstallerWindow::event(QEvent* event) {
    switch (event->type()) {
        // The desktop has changed between light and dark, or its accent.
        case QEvent::ApplicationPaletteChange:
            applyAppearance(*this, setting_.appearance);
            break;
        // The release of Alt goes to another window.
        case QEvent::WindowDeactivate:
            showMnemonics(false);
            break;
        case QEvent::Paint:
            if (!std::exchange(painted_, true) && onFirstPaint)
                // Later: the paint event is only just being handled.
                QTimer::singleShot(0, this, [this] { onFirstPaint(); });
            break;
        default:
            break;
    }
    return QWidget::event(event);
}

void InstallerWindow::showEvent(QShowEvent* event) {
    if (setting_.fitScreen == FitScreen::Yes) fitScreen();
    QWidget::showEvent(event);
}

void InstallerWindow::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        // Only the toolkit's dialogs press a default button, and this is not one.
        case Qt::Key_Return:
        case Qt::Key_Enter:
            return mainButton()->click();
        case Qt::Key_Escape:
            close();
            return;
        case Qt::Key_Alt:
            showMnemonics(true);
            break;
        default:
            break;
    }
    QWidget::keyPressEvent(event);
}

void InstallerWindow::keyReleaseEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Alt) showMnemonics(false);
    QWidget::keyReleaseEvent(event);
}

void InstallerWindow::closeNow() {
    setting_.confirm = Confirm::No;
    close();
}

void InstallerWindow::closeEvent(QCloseEvent* event) {
    const bool asks = setting_.confirm == Confirm::Yes && !isLast();
    event->setAccepted(!asks || userWantsToQuit());
}

bool InstallerWindow::userWantsToQuit() {
    QMessageBox box(QMessageBox::NoIcon, windowTitle(),
                    translated("Do you want to leave the installer?"), QMessageBox::NoButton, this);
    box.setIconPixmap(packagePicture(48, devicePixelRatioF(), palette()));
    // The toolkit's internal name of the label; without it the text has the usual size.
    if (auto* question = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_label")))
        question->setProperty("textStyle", "heading");
    box.setContentsMargins(12, 12, 12, 8);
    box.setInformativeText(translated("The remaining steps have not been shown."));
    box.setPalette(palette());
    // Escape presses the one button with the role of a refusal.
    auto* stay = box.addButton(translated("&Stay"), QMessageBox::RejectRole);
    auto* leave = box.addButton(translated("&Leave"), QMessageBox::AcceptRole);
    box.setDefaultButton(stay);
    box.exec();
    return box.clickedButton() == leave;
}

}  // namespace quillmoor::host
