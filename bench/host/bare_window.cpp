// The least that a program with a window does: what a host's start is measured against. It shows a
// label in a window of the host's size and with the host's font, and ends when that has been
// painted.
#include <QApplication>
#include <QLabel>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>
#include <algorithm>
#include <utility>

namespace {

class BareWindow : public QWidget {
  public:
    BareWindow() {
        auto* column = new QVBoxLayout(this);
        column->addWidget(new QLabel(QStringLiteral("Hello")));
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

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QFont font = QApplication::font();
    font.setFamilies({QStringLiteral("Inter"), font.family()});
    font.setPointSizeF(std::max(font.pointSizeF(), 10.0));
    QApplication::setFont(font);
    BareWindow window;
    window.show();
    return QApplication::exec();
}
