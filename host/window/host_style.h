// The part of the window's look that a style sheet cannot describe.
#pragma once

#include <QProxyStyle>

namespace quillmoor::host {

// The toolkit's own style, the same on every desktop. Mnemonics are underlined while Alt is held,
// and a focus frame has a gap of a pixel to its button.
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
