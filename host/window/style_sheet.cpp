#include "host/window/style_sheet.h"

#include <utility>
#include <vector>

namespace quillmoor::host {
namespace {

// @names@ are replaced by colours and sizes. Of two rules that fit, the later one applies.
constexpr const char* kSheet = R"(
QWidget[part="rail"] { background: @rail@; }

QScrollArea[part="card"] {
    background: @card@;
    border: 1px solid @hairline@;
    border-radius: 12px;
    padding: 5px;
}

QLabel[textStyle="title"] { font-size: @titleSize@pt; font-weight: 600; }
QLabel[textStyle="heading"] { font-size: @headingSize@pt; font-weight: 600; }
QLabel[stepState="current"] { background: @card@; border-radius: 8px; }

QPushButton {
    background: @card@;
    border: 1px solid @outline@;
    border-radius: 7px;
    color: @text@;
    min-width: 68px;
    outline: none;
    padding: 7px 17px;
}
QPushButton:hover { background: @hover@; }
QPushButton:pressed { background: @pressed@; }
QPushButton:default { background: @accent@; border-color: @accent@; color: @onAccent@; }
QPushButton:default:hover { background: @accentHover@; border-color: @accentHover@; }
QPushButton:default:pressed { background: @accentPressed@; border-color: @accentPressed@; }
QPushButton:disabled { background: @window@; border-color: @hairline@; color: @disabled@; }

QFocusFrame { border: 2px solid @ring@; border-radius: 10px; }

QScrollBar { background: transparent; border: none; margin: 0; }
QScrollBar:vertical { width: 14px; }
QScrollBar:horizontal { height: 14px; }
QScrollBar::handle { background: @outline@; border-radius: 3px; }
QScrollBar::handle:vertical { margin: 0 4px; min-height: 24px; }
QScrollBar::handle:horizontal { margin: 4px 0; min-width: 24px; }
QScrollBar::handle:pressed { background: @text@; }
QScrollBar::add-line, QScrollBar::sub-line { height: 0; width: 0; }
QScrollBar::add-page, QScrollBar::sub-page { background: none; }
)";

// Of the body's size, so that large system fonts keep the proportions.
constexpr double kTitleScale = 1.7;
constexpr double kHeadingScale = 1.3;

bool isDark(const Colours& colours) {
    return colours.window.lightness() < colours.text.lightness();
}

// Makes a colour lighter on dark backgrounds and darker on light ones, by hundredths.
QColor moved(const QColor& colour, const Colours& colours, int hundredths) {
    return isDark(colours) ? colour.lighter(100 + hundredths) : colour.darker(100 + hundredths);
}

QString sizeOf(const QFont& body, double scale) {
    // QString::number writes a decimal point in every locale, as a style sheet needs it.
    return QString::number(body.pointSizeF() * scale, 'f', 2);
}

}  // namespace

QString styleSheetFor(const Colours& colours, const QFont& body) {
    const QColor& accent = colours.accent;
    const std::vector<std::pair<const char*, QString>> values{
        {"@window@", colours.window.name()},
        {"@rail@", colours.rail.name()},
        {"@card@", colours.card.name()},
        {"@text@", colours.text.name()},
        {"@hairline@", colours.hairline.name()},
        {"@outline@", colours.outline.name()},
        {"@accent@", accent.name()},
        {"@onAccent@", colours.onAccent.name()},
        {"@disabled@", colours.disabled.name()},
        {"@hover@", moved(colours.card, colours, 5).name()},
        {"@pressed@", moved(colours.card, colours, 12).name()},
        {"@accentHover@", accent.darker(110).name()},
        {"@accentPressed@", accent.darker(122).name()},
        {"@ring@", isDark(colours) ? accent.lighter(150).name() : accent.name()},
        {"@titleSize@", sizeOf(body, kTitleScale)},
        {"@headingSize@", sizeOf(body, kHeadingScale)},
    };
    // In any order: the @ at the end keeps a name from matching the beginning of a longer one.
    QString sheet = QString::fromUtf8(kSheet);
    for (const auto& [name, value] : values) sheet.replace(QLatin1String(name), value);
    return sheet;
}

}  // namespace quillmoor::host
