// The least work of a program with a window.
#pragma once

#include <QApplication>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>
#include <algorithm>
#include <utility>

namespace quillmoor::bench {

// A window of the host's size that closes after it was painted.
class BareWindow : public QWidget {
  public:
    explicit BareWindow(QWidget* content) {
        auto* column = new QVBoxLayout(this);
        column->addWidget(content);
        resize(820, 530);
    }

  protected:
    void paintEvent(QPaintEvent* event) override {
        QWidget::paintEvent(event);
        if (!std::exchange(painted_, true)) QTimer::singleShot(0, this, [this] { close(); });
    }

  private:
    bool painted_ = false;
};

// Sets the host's font, whose loading takes part of the time.
inline void setFont() {
    QFont font = QApplication::font();
    font.setFamilies({QStringLiteral("Inter"), font.family()});
    font.setPointSizeF(std::max(font.pointSizeF(), 10.0));
    QApplication::setFont(font);
}

}  // namespace quillmoor::bench
