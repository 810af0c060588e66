#include "host/window/host_style.h"

#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QStyleFactory>
#include <QStyleOptionButton>
#include <QStyleOptionSlider>
#include <algorithm>

#include "host/window/appearance.h"
#include "host/window/shapes.h"

namespace quillmoor::host {
namespace {

constexpr int kRadius = 7;
constexpr int kRing = HostStyle::kFocusRoom;
constexpr int kPaddingAcross = 18;
constexpr int kPaddingDown = 8;
constexpr int kLeastWidth = 104;
constexpr int kHandleWidth = 6;
constexpr int kShortestHandle = 24;

using State = QStyle::StateFlag;

bool isDefault(const QStyleOptionButton& button) {
    return (button.features & QStyleOptionButton::DefaultButton) != 0;
}

// Towards white on dark grounds and towards black on light ones, in hundredths.
QColor moved(const QColor& colour, const QPalette& palette, int hundredths) {
    return isDark(palette) ? colour.lighter(100 + hundredths) : colour.darker(100 + hundredths);
}

struct ButtonColours {
    QColor fill;
    QColor edge;
    QColor text;
};

ButtonColours coloursOf(const QStyleOptionButton& button) {
    const QPalette& palette = button.palette;
    const bool enabled = (button.state & State::State_Enabled) != 0;
    if (!enabled)
        return {palette.color(QPalette::Window), palette.color(QPalette::Mid),
                palette.color(QPalette::Disabled, QPalette::ButtonText)};

    const bool main = isDefault(button);
    QColor fill = palette.color(main ? QPalette::Highlight : QPalette::Base);
    if ((button.state & State::State_Sunken) != 0) {
        fill = main ? fill.darker(122) : moved(fill, palette, 12);
    } else if ((button.state & State::State_MouseOver) != 0) {
        fill = main ? fill.darker(110) : moved(fill, palette, 5);
    }
    return {fill, main ? fill : palette.color(QPalette::Dark),
            palette.color(main ? QPalette::HighlightedText : QPalette::ButtonText)};
}

// A ring with a gap between it and the button's shape.
void drawFocusRing(QPainter& painter, const QRect& shape, const QPalette& palette) {
    const QColor accent = palette.color(QPalette::Highlight);
    const QColor ring = isDark(palette) ? accent.lighter(150) : accent;
    fillRounded(painter, shape.adjusted(-3, -3, 3, 3), kRadius + 3, ring);
    fillRounded(painter, shape.adjusted(-1, -1, 1, 1), kRadius + 1,
                palette.color(QPalette::Window));
}

void drawShape(QPainter& painter, const QStyleOptionButton& button, const ButtonColours& colours) {
    const QRect shape = button.rect.adjusted(kRing, kRing, -kRing, -kRing);
    if ((button.state & State::State_HasFocus) != 0) drawFocusRing(painter, shape, button.palette);
    fillRoundedWithEdge(painter, shape, kRadius, colours.fill, colours.edge);
}

// The scroll bar's handle, as long as what is in sight is of the whole.
QRect handleOf(const QStyleOptionSlider& bar) {
    const bool isVertical = bar.orientation == Qt::Vertical;
    const int room = isVertical ? bar.rect.height() : bar.rect.width();
    const int range = bar.maximum - bar.minimum;
    const int share = range + bar.pageStep > 0
                          ? static_cast<int>(qint64{room} * bar.pageStep / (range + bar.pageStep))
                          : room;
    const int length = std::clamp(share, std::min(kShortestHandle, room), room);
    const int start = QStyle::sliderPositionFromValue(bar.minimum, bar.maximum, bar.sliderPosition,
                                                      room - length, bar.upsideDown);
    return isVertical ? QRect(bar.rect.left(), bar.rect.top() + start, bar.rect.width(), length)
                      : QRect(bar.rect.left() + start, bar.rect.top(), length, bar.rect.height());
}

}  // namespace

HostStyle::HostStyle() : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))) {}

void HostStyle::polish(QWidget* widget) {
    QProxyStyle::polish(widget);
    if (qobject_cast<QPushButton*>(widget) != nullptr) widget->setAttribute(Qt::WA_Hover);
    // What is beside the handle is the ground's.
    if (qobject_cast<QScrollBar*>(widget) != nullptr)
        widget->setAttribute(Qt::WA_OpaquePaintEvent, false);
}

void HostStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                            const QWidget* widget) const {
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
    if (element != CE_PushButton || button == nullptr)
        return QProxyStyle::drawControl(element, option, painter, widget);
    const ButtonColours colours = coloursOf(*button);
    drawShape(*painter, *button, colours);
    QStyleOptionButton label(*button);
    label.palette.setColor(QPalette::ButtonText, colours.text);
    QProxyStyle::drawControl(CE_PushButtonLabel, &label, painter, widget);
}

void HostStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                   QPainter* painter, const QWidget* widget) const {
    const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != CC_ScrollBar || bar == nullptr)
        return QProxyStyle::drawComplexControl(control, option, painter, widget);
    if (bar->maximum == bar->minimum) return;
    QRect handle = handleOf(*bar);
    const int edge = (std::min(handle.width(), handle.height()) - kHandleWidth) / 2;
    handle = bar->orientation == Qt::Vertical ? handle.adjusted(edge, 0, -edge, 0)
                                              : handle.adjusted(0, edge, 0, -edge);
    const bool isHeld = (bar->state & State_Sunken) != 0;
    fillRounded(*painter, handle, kHandleWidth / 2,
                bar->palette.color(isHeld ? QPalette::WindowText : QPalette::Dark));
}

QSize HostStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                                  const QWidget* widget) const {
    if (type != CT_PushButton) return QProxyStyle::sizeFromContents(type, option, size, widget);
    const int width = std::max(size.width() + 2 * kPaddingAcross, kLeastWidth);
    return {width + 2 * kRing, size.height() + 2 * (kPaddingDown + kRing)};
}

QRect HostStyle::subElementRect(SubElement element, const QStyleOption* option,
                                const QWidget* widget) const {
    if (element == SE_PushButtonLayoutItem)
        return option->rect.adjusted(kRing, kRing, -kRing, -kRing);
    return QProxyStyle::subElementRect(element, option, widget);
}

// No arrows: a press beside the handle goes on by a page.
QRect HostStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option,
                                SubControl subControl, const QWidget* widget) const {
    const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != CC_ScrollBar || bar == nullptr)
        return QProxyStyle::subControlRect(control, option, subControl, widget);
    const QRect handle = handleOf(*bar);
    QRect before = bar->rect;
    QRect after = bar->rect;
    if (bar->orientation == Qt::Vertical) {
        before.setBottom(handle.top() - 1);
        after.setTop(handle.bottom() + 1);
    } else {
        before.setRight(handle.left() - 1);
        after.setLeft(handle.right() + 1);
    }
    switch (subControl) {
        case SC_ScrollBarSlider:
            return handle;
        case SC_ScrollBarSubPage:
            return before;
        case SC_ScrollBarAddPage:
            return after;
        case SC_ScrollBarGroove:
            return bar->rect;
        default:
            return {};
    }
}

int HostStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                         QStyleHintReturn* data) const {
    if (hint == SH_UnderlineShortcut) return mnemonicsShown_ ? 1 : 0;
    return QProxyStyle::styleHint(hint, option, widget, data);
}

void HostStyle::setMnemonicsShown(bool areShown, QWidget& window) {
    if (mnemonicsShown_ == areShown) return;
    mnemonicsShown_ = areShown;
    for (QPushButton* button : window.findChildren<QPushButton*>()) button->update();
}

}  // namespace quillmoor::host
