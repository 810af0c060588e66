#include "host/window/host_style.h"

#include <QCoreApplication>
#include <QPushButton>
#include <QStyleFactory>

namespace quillmoor::host {

HostStyle::HostStyle() : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))) {
    // Without this, widgets of a window with a style sheet do not inherit its palette.
    QCoreApplication::setAttribute(Qt::AA_UseStyleSheetPropagationInWidgetStyles);
}

int HostStyle::pixelMetric(PixelMetric metric, const QStyleOption* option,
                           const QWidget* widget) const {
    if (metric == PM_FocusFrameHMargin || metric == PM_FocusFrameVMargin) return kFocusRoom;
    return QProxyStyle::pixelMetric(metric, option, widget);
}

int HostStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                         QStyleHintReturn* data) const {
    if (hint == SH_UnderlineShortcut) return mnemonicsShown_ ? 1 : 0;
    // The mask would cut off the round corners of the focus frame's border.
    if (hint == SH_FocusFrame_Mask) return 0;
    return QProxyStyle::styleHint(hint, option, widget, data);
}

void HostStyle::setMnemonicsShown(bool areShown, QWidget& window) {
    if (mnemonicsShown_ == areShown) return;
    // The hint is asked for when a button is painted.
    mnemonicsShown_ = areShown;
    for (QPushButton* button : window.findChildren<QPushButton*>()) button->update();
}

}  // namespace quillmoor::host
