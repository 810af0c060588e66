// How the window's buttons and scroll bars are drawn; everything else is the toolkit's own drawing
// in the window's colours.
#pragma once

#include <QProxyStyle>

namespace quillmoor::host {

// Underlines of mnemonics appear while Alt is held. Scroll bars are a handle and nothing else.
class HostStyle : public QProxyStyle {
  public:
    // Room around a button for the ring that shows the focus. Layouts align the button's shape;
    // the ring lies outside it.
    static constexpr int kFocusRoom = 3;

    HostStyle();

    void polish(QWidget* widget) override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                            QPainter* painter, const QWidget* widget) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                           const QWidget* widget) const override;
    QRect subElementRect(SubElement element, const QStyleOption* option,
                         const QWidget* widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option,
                         SubControl subControl, const QWidget* widget) const override;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override;

    // Shows or hides the underlines in `window`.
    void setMnemonicsShown(bool areShown, QWidget& window);

  private:
    bool mnemonicsShown_ = false;
};

}  // namespace quillmoor::host
