// What a style sheet cannot say of the window's look.
#pragma once

#include <QProxyStyle>

namespace quillmoor::host {

// The toolkit's own style, the same on every desktop. Underlines of mnemonics appear while Alt is
// held, and a focus frame stands off its button by a pixel.
class HostStyle : public QProxyStyle {
  public:
    // Room around a button for the frame that shows the focus.
    static constexpr int kFocusRoom = 3;

    HostStyle();

    int pixelMetric(PixelMetric metric, const QStyleOption* option,
                    const QWidget* widget) const override;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override;

    // Shows or hides the underlines in `window`.
    void setMnemonicsShown(bool areShown, QWidget& window);

  private:
    bool mnemonicsShown_ = false;
};

}  // namespace quillmoor::host
