#include "examples/tallyframe/tally_window.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QLocale>
#include <QScrollArea>
#include <algorithm>
#include <numeric>
#include <utility>

#include "examples/look/look.h"

namespace quillmoor::tallyframe {
namespace {

QPushButton* newButton(QWidget* parent, const QString& sign, const char* look) {
    auto* button = new QPushButton(sign, parent);
    button->setProperty("look", QString::fromLatin1(look));
    return button;
}

// For screen readers and as a tooltip: the sign on a button does not name its counter.
void describe(QWidget* widget, const QString& text) {
    widget->setAccessibleName(text);
    widget->setToolTip(text);
}

}  // namespace

TallyWindow::TallyWindow(QString file, SavedCounters saved)
    : file_(std::move(file)),
      counters_(std::move(saved.counters)),
      isDamaged_(saved.isDamaged),
      rows_(new QVBoxLayout),
      status_(newLabel(this, "body")) {
    setWindowTitle(tr("Tallyframe"));
    status_->setObjectName("status");
    if (isDamaged_) notice_ = tr("Not all saved counters could be read.");
    auto* list = new QWidget;
    list->setLayout(rows_);
    rows_->setContentsMargins(0, 0, 0, 0);
    rows_->setSpacing(10);
    auto* scroll = new QScrollArea(this);
    scroll->setWidget(list);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    auto* add = new QPushButton(tr("&Add Counter"), this);
    connect(add, &QPushButton::clicked, this, [this] {
        counters_.push_back({tr("New counter"), 0});
        rebuild();
        save();
    });
    auto* foot = new QHBoxLayout;
    foot->addWidget(status_, 1);
    foot->addWidget(add);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 22, 24, 20);
    layout->setSpacing(16);
    QLabel* heading = newLabel(this, "title");
    heading->setText(tr("Tallyframe"));
    layout->addWidget(heading);
    layout->addWidget(scroll, 1);
    layout->addLayout(foot);
    resize(460, 430);
    rebuild();
}

void TallyWindow::rebuild() {
    while (QLayoutItem* old = rows_->takeAt(0)) {
        // Later: the click on a row's own button may have led here. The space at the end has no
        // widget.
        if (old->widget() != nullptr) old->widget()->deleteLater();
        delete old;
    }
    for (std::size_t i = 0; i < counters_.size(); ++i) addRow(i);
    rows_->addStretch();
    showTotal();
}

void TallyWindow::showTotal() {
    const auto total =
        std::accumulate(counters_.begin(), counters_.end(), 0LL,
                        [](long long sum, const Counter& counter) { return sum + counter.value; });
    const QString text = tr("%1 in all").arg(QLocale().toString(total));
    status_->setText(notice_.isEmpty() ? text : text + '\n' + notice_);
}

void TallyWindow::addRow(std::size_t index) {
    QFrame* card = newCard(this);
    const Row parts{new QLineEdit(counters_[index].name, card),
                    newButton(card, QStringLiteral("−"), "round"), newLabel(card, "title"),
                    newButton(card, QStringLiteral("+"), "round"),
                    newButton(card, QStringLiteral("✕"), "quiet")};
    parts.count->setAlignment(Qt::AlignCenter);
    parts.count->setMinimumWidth(96);
    auto* row = new QHBoxLayout(card);
    row->setContentsMargins(10, 10, 10, 10);
    row->addWidget(parts.name, 1);
    for (QWidget* widget : {static_cast<QWidget*>(parts.less), static_cast<QWidget*>(parts.count),
                            static_cast<QWidget*>(parts.more), static_cast<QWidget*>(parts.remove)})
        row->addWidget(widget);
    rows_->addWidget(card);
    showRow(index, parts);
    connectRow(index, parts);
}

void TallyWindow::showRow(std::size_t index, const Row& row) {
    const auto& [name, value] = counters_[index];
    row.count->setText(QLocale().toString(value));
    row.count->setAccessibleName(tr("%1: %2").arg(name).arg(value));
    row.less->setEnabled(value > 0);
    row.more->setEnabled(value < kMostCounted);
    row.name->setAccessibleName(tr("Name of the counter"));
    describe(row.less, tr("One less: %1").arg(name));
    describe(row.more, tr("One more: %1").arg(name));
    describe(row.remove, tr("Remove %1").arg(name));
}

void TallyWindow::connectRow(std::size_t index, const Row& row) {
    // Indices and widgets stay valid until the next rebuild(), which replaces all rows.
    const auto changeBy = [this, index, row](int step) {
        int& value = counters_[index].value;
        value = std::clamp(value + step, 0, kMostCounted);
        showRow(index, row);
        save();
    };
    connect(row.less, &QPushButton::clicked, this, [=] { changeBy(-1); });
    connect(row.more, &QPushButton::clicked, this, [=] { changeBy(1); });
    connect(row.name, &QLineEdit::textEdited, this, [this, index, row](const QString& text) {
        counters_[index].name = text;
        showRow(index, row);
        save();
    });
    connect(row.remove, &QPushButton::clicked, this, [this, index] {
        counters_.erase(counters_.begin() + static_cast<std::ptrdiff_t>(index));
        rebuild();
        save();
    });
}

// After every change, so that nothing is lost however the program ends.
void TallyWindow::save() {
    if (!keepDamagedFile() || !writeCounters(file_, counters_))
        return status_->setText(tr("The counters could not be saved."));
    isDamaged_ = false;
    showTotal();
}

// Not before the first change: until then the file may be mended and read again. Returns false if a
// damaged file would be replaced.
bool TallyWindow::keepDamagedFile() {
    if (!isDamaged_ || !QFileInfo::exists(file_)) return true;
    const QString name = keepDamaged(file_);
    if (!name.isEmpty()) notice_ = tr("The damaged file is kept as “%1”.").arg(name);
    return !name.isEmpty();
}

}  // namespace quillmoor::tallyframe
