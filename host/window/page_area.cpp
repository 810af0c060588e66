#include "host/window/page_area.h"

#include <QScrollBar>
#include <QVBoxLayout>

#include "host/window/host_style.h"

namespace quillmoor::host {
namespace {

// Inside the card's border and padding, which keep the scroll bar clear of the round corners.
constexpr int kMargin = 22;

}  // namespace

QScrollArea* newPageArea(QWidget* parent) {
    auto* area = new QScrollArea(parent);
    area->setProperty("part", "card");
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->viewport()->setAutoFillBackground(false);
    // Tab must not stop at an area that has nothing to scroll.
    area->setFocusPolicy(Qt::NoFocus);
    QObject::connect(
        area->verticalScrollBar(), &QScrollBar::rangeChanged, area,
        [area](int, int most) { area->setFocusPolicy(most > 0 ? Qt::StrongFocus : Qt::NoFocus); });
    return area;
}

void setPage(QScrollArea& area, std::unique_ptr<QWidget> page) {
    auto* holder = new QWidget;
    // Empty: with its page it would be laid out here, and again when the window has its size.
    area.setWidget(holder);
    // setWidget() has just turned this on, which would hide the card's colour.
    holder->setAutoFillBackground(false);
    auto* layout = new QVBoxLayout(holder);
    // Focus frames are drawn beyond the page's own margins and must not be clipped there.
    constexpr int room = HostStyle::kFocusRoom;
    constexpr int margin = kMargin - room;
    layout->setContentsMargins(margin, margin, margin, margin);
    page->setContentsMargins(page->contentsMargins() + room);
    page->setParent(holder, Qt::Widget);
    page->setVisible(true);
    layout->addWidget(page.release());
}

}  // namespace quillmoor::host
