#include "host/window/appearance.h"

#include <QLabel>
#include <QStyle>
#include <algorithm>
#include <cmath>
#include <utility>

#include "host/window/style_sheet.h"

namespace quillmoor::host {
namespace {

// WCAG's level AA for text and for graphical objects.
constexpr double kTextContrast = 4.5;
constexpr double kMarkContrast = 3.0;
constexpr double kLeastPointSize = 10.0;

// The highlight colour of a style that knows no desktop: it is not the user's choice.
const QColor kToolkitAccent(0x30, 0x8c, 0xc6);

// In the order of the members of Colours. A test checks every contrast.
Colours lightColours() {
    return {QColor(0xf7f8fa), QColor(0xebeef3), QColor(0xffffff), QColor(0x1a1e26),
            QColor(0x565e6c), QColor(0xdce0e8), QColor(0x7d8696), QColor(0x2558d4),
            QColor(0xffffff), QColor(0x9aa1ad)};
}

Colours darkColours() {
    return {QColor(0x1c1e23), QColor(0x15171b), QColor(0x25282f), QColor(0xeceef2),
            QColor(0xa8afbc), QColor(0x383d47), QColor(0x7c8595), QColor(0x386de6),
            QColor(0xffffff), QColor(0x646b78)};
}

// WCAG's formulas for relative luminance.
double linear(double channel) {
    return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& colour) {
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

// Returns the accent, darkened until white text can be read on it; nothing if its contrast with the
// card is then too low.
std::optional<QColor> usable(QColor accent, const Colours& colours) {
    for (int step = 0; step < 20 && contrast(accent, colours.onAccent) < kTextContrast; ++step)
        accent = accent.darker(108);
    if (contrast(accent, colours.card) < kMarkContrast) return std::nullopt;
    return accent;
}

std::optional<QColor> systemAccent() {
    const QColor accent = QApplication::palette().color(QPalette::Highlight);
    return accent.rgb() == kToolkitAccent.rgb() ? std::nullopt : std::optional(accent);
}

}  // namespace

double contrast(const QColor& one, const QColor& other) {
    const std::pair levels = std::minmax({luminance(one), luminance(other)});
    return (levels.second + 0.05) / (levels.first + 0.05);
}

Colours coloursFor(bool dark, const std::optional<QColor>& accent) {
    Colours colours = dark ? darkColours() : lightColours();
    if (accent) colours.accent = usable(*accent, colours).value_or(colours.accent);
    return colours;
}

QPalette paletteOf(const Colours& colours) {
    // Window text, button, light, dark, mid, text, bright text, base, window.
    QPalette palette(colours.text, colours.card, colours.hairline, colours.outline,
                     colours.hairline, colours.text, colours.text, colours.card, colours.window);
    palette.setColor(QPalette::AlternateBase, colours.rail);
    palette.setColor(QPalette::PlaceholderText, colours.secondary);
    palette.setColor(QPalette::Highlight, colours.accent);
    palette.setColor(QPalette::HighlightedText, colours.onAccent);
    palette.setColor(QPalette::Link, colours.accent);
    palette.setColor(QPalette::ToolTipBase, colours.card);
    palette.setColor(QPalette::ToolTipText, colours.text);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, colours.disabled);
    return palette;
}

// 0.18 is the luminance of a middle grey.
bool isDark(const QPalette& palette) {
    return luminance(palette.color(QPalette::Window)) < 0.18;
}

QColor warningColour(const QPalette& palette) {
    return isDark(palette) ? QColor(0xf2b13d) : QColor(0xa85a00);
}

void applyAppearance(QWidget& window, AppearanceMode mode) {
    const bool dark = mode == AppearanceMode::System ? isDark(QApplication::palette())
                                                     : mode == AppearanceMode::Dark;
    const Colours colours = coloursFor(dark, systemAccent());
    const QString sheet = styleSheetFor(colours, QApplication::font());
    // Setting a sheet polishes every widget again, which takes long.
    if (window.styleSheet() != sheet) window.setStyleSheet(sheet);
    // A window with a style sheet passes its palette down only when the palette changes.
    window.setPalette(QPalette());
    window.setPalette(paletteOf(colours));
}

// A family that is not installed is passed over for the next one. A size in pixels, which has no
// points, is kept.
QFont applicationFont(const QFont& system) {
    QFont font(system);
    QStringList families = system.families();
    if (families.isEmpty()) families.append(system.family());
    families.prepend(QStringLiteral("Inter"));
    font.setFamilies(families);
    if (font.pointSizeF() > 0) font.setPointSizeF(std::max(font.pointSizeF(), kLeastPointSize));
    return font;
}

void alignLabels(QWidget& root) {
    if (root.layoutDirection() != Qt::RightToLeft) return;
    for (QLabel* label : root.findChildren<QLabel*>())
        label->setAlignment(QStyle::visualAlignment(Qt::RightToLeft, label->alignment()));
}

}  // namespace quillmoor::host
