#include "host/window/card.h"

#include <QPainter>
#include <QScrollBar>
#include <QVBoxLayout>

#include "host/window/host_style.h"
#include "host/window/shapes.h"

namespace quillmoor::host {
namespace {

constexpr int kRadius = 12;
constexpr int kMargin = 28;
constexpr int kEdge = 6;  // keeps the scroll bar and the focus rings off the rounded corners

}  // namespace

Card::Card(QWidget* parent) : QWidget(parent), area_(new QScrollArea(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(kEdge, kEdge, kEdge, kEdge);
    layout->addWidget(area_);
    area_->setFrameShape(QFrame::NoFrame);
    area_->setWidgetResizable(true);
    area_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area_->viewport()->setAutoFillBackground(false);

    // Only what can be scrolled takes the keyboard's focus.
    QScrollArea* area = area_;
    area->setFocusPolicy(Qt::NoFocus);
    connect(area->verticalScrollBar(), &QScrollBar::rangeChanged, area, [area](int, int most) {
        area->setFocusPolicy(most > 0 ? Qt::StrongFocus : Qt::NoFocus);
    });
}

void Card::setPage(std::unique_ptr<QWidget> page) {
    auto* holder = new QWidget;
    holder->setAutoFillBackground(false);
    auto* layout = new QVBoxLayout(holder);
    // Focus rings reach over the page's own margins and must not be cut off there.
    constexpr int room = HostStyle::kFocusRoom;
    constexpr int margin = kMargin - kEdge - room;
    layout->setContentsMargins(margin, margin, margin, margin);
    page->setContentsMargins(page->contentsMargins() + room);
    page->setParent(holder, Qt::Widget);
    page->setVisible(true);
    layout->addWidget(page.release());
    area_->setWidget(holder);
    holder->setAutoFillBackground(false);
}

void Card::setSpokenName(const QString& name) {
    area_->setAccessibleName(name);
}

void Card::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    fillRoundedWithEdge(painter, rect(), kRadius, palette().color(QPalette::Base),
                        palette().color(QPalette::Mid));
}

}  // namespace quillmoor::host
