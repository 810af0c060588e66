#include "examples/look/look.h"

#include <QApplication>
#include <QIcon>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QStyleFactory>
#include <algorithm>

namespace quillmoor::tallyframe {
namespace {

// The colours of one appearance, each opaque.
struct Colours {
    QRgb window, card, text, secondary, hairline, outline, accent, pressed, good, warning;
};
constexpr Colours kLight{0xfff6f4f1, 0xffffffff, 0xff23201c, 0xff665f57, 0xffe3ded7,
                         0xff8d857b, 0xff0f6b63, 0xff0b534d, 0xff1d6b3c, 0xffa04408};
constexpr Colours kDark{0xff1d1c1a, 0xff292724, 0xfff1eeea, 0xffb3aba1, 0xff3d3a35,
                        0xff857d73, 0xff16857b, 0xff126c64, 0xff63c98a, 0xfff3a35c};

constexpr double kLeastPointSize = 10.0;

// A button with the focus has a wider border and as much less padding, so that it keeps its size.
//
// %1 card, %2 text, %3 secondary, %4 hairline, %5 outline, %6 accent, %7 pressed, %8 good,
// %9 warning, %10 window
const QString kShapes = QStringLiteral(R"(
QLabel[look="title"] { font-size: 17pt; font-weight: 700; }
QLabel[look="heading"] { font-weight: 600; }
QLabel[look="body"], QLabel[look="path"] { color: %3; }
QLabel[look="good"] { color: %8; font-weight: 600; }
QLabel[look="warning"] { color: %9; font-weight: 600; }
QFrame[look="card"] { background: %1; border: 1px solid %4; border-radius: 10px; }
QPushButton { background: %1; color: %2; border: 1px solid %5; border-radius: 7px;
    padding: 7px 18px; min-width: 72px; outline: none; }
QPushButton:hover { border-color: %6; }
QPushButton:pressed { background: %4; }
QPushButton:default { background: %6; color: #ffffff; border-color: %6; }
QPushButton:default:hover, QPushButton:default:pressed { background: %7; border-color: %7; }
QPushButton:focus { border: 2px solid %2; padding: 6px 17px; }
QPushButton:disabled { background: %10; color: %5; border-color: %4; }
QPushButton[look="round"] { min-width: 34px; max-width: 34px; min-height: 34px; max-height: 34px;
    padding: 0; border-radius: 18px; font-size: 15pt; }
QPushButton[look="quiet"] { min-width: 26px; max-width: 26px; min-height: 26px; max-height: 26px;
    padding: 0; border: 1px solid transparent; color: %3; background: transparent; }
QPushButton[look="quiet"]:hover, QPushButton[look="quiet"]:focus { border-color: %5; color: %2; }
QLineEdit { background: transparent; border: 1px solid transparent; border-radius: 6px;
    padding: 4px 6px; font-size: 12pt; font-weight: 600; }
QLineEdit:hover { border-color: %4; }
QLineEdit:focus { border-color: %6; background: %10; }
QScrollArea, QScrollArea > QWidget > QWidget { background: transparent; border: none; }
)");

QString text(QRgb colour) {
    return QColor(colour).name();
}

// Above the middle of lightness, 0 to 255, the desktop counts as light.
bool wantsDark() {
    const QByteArray wish = qgetenv("TALLYFRAME_APPEARANCE");
    if (!wish.isEmpty()) return wish == "dark";
    return QApplication::palette().color(QPalette::Window).lightness() < 128;
}

QPalette paletteOf(const Colours& colours) {
    QPalette palette{QColor(colours.window)};
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(role, QColor(colours.text));
    palette.setColor(QPalette::Base, QColor(colours.card));
    palette.setColor(QPalette::Highlight, QColor(colours.accent));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::PlaceholderText, QColor(colours.secondary));
    return palette;
}

// Inter where it is installed, else the next family.
QFont fontFor(QFont font) {
    font.setFamilies(QStringList{QStringLiteral("Inter")} + font.families());
    font.setPointSizeF(std::max(font.pointSizeF(), kLeastPointSize));
    return font;
}

// Four strokes and the one that crosses them.
QIcon tallyIcon(QRgb accent) {
    QPixmap picture(128, 128);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(accent));
    painter.drawRoundedRect(4, 4, 120, 120, 26, 26);
    painter.setPen(QPen(Qt::white, 9, Qt::SolidLine, Qt::RoundCap));
    for (int x = 37; x <= 91; x += 18) painter.drawLine(x, 34, x, 94);
    painter.drawLine(24, 82, 104, 46);
    return QIcon(picture);
}

}  // namespace

void chooseDisplay() {
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

bool canBeSeen() {
    const QString platform = QGuiApplication::platformName();
    return platform != QLatin1String("offscreen") && !platform.startsWith(QLatin1String("minimal"));
}

void applyLook(const QString& name) {
    const Colours& colours = wantsDark() ? kDark : kLight;
    QApplication::setApplicationName(name);
    QApplication::setApplicationDisplayName(name);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setPalette(paletteOf(colours));
    QApplication::setFont(fontFor(QApplication::font()));
    QApplication::setWindowIcon(tallyIcon(colours.accent));
    // In two calls: one takes nine values at most.
    qApp->setStyleSheet(kShapes
                            .arg(text(colours.card), text(colours.text), text(colours.secondary),
                                 text(colours.hairline), text(colours.outline),
                                 text(colours.accent), text(colours.pressed), text(colours.good),
                                 text(colours.warning))
                            .arg(text(colours.window)));
}

QLabel* newLabel(QWidget* parent, const char* style) {
    auto* label = new QLabel(parent);
    label->setProperty("look", QString::fromLatin1(style));
    // Paths must not be taken for markup.
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

QFrame* newCard(QWidget* parent) {
    auto* card = new QFrame(parent);
    card->setProperty("look", QStringLiteral("card"));
    return card;
}

}  // namespace quillmoor::tallyframe
