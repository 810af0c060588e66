// Colours and type: light and dark, and the accent that the user's desktop asks for.
#pragma once

#include <QApplication>
#include <QColor>
#include <QPalette>
#include <QWidget>
#include <optional>

namespace quillmoor::host {

enum class AppearanceMode { System, Light, Dark };

struct Colours {
    QColor window;
    QColor rail;  // behind the list of steps
    QColor card;  // behind a pane
    QColor text;
    QColor secondary;  // text of less weight
    QColor hairline;   // decoration; never the only sign of anything
    QColor outline;    // edges of controls, marks of steps
    QColor accent;
    QColor onAccent;
    QColor disabled;  // text and edges of disabled controls
};

// Every text has a contrast of at least 4.5 to its background and every mark one of 3. An accent
// with less is darkened or, if that does not help, replaced by the host's own.
Colours coloursFor(bool dark, const std::optional<QColor>& accent);

// Returns WCAG's contrast ratio, 1 to 21.
double contrast(const QColor& one, const QColor& other);

// Returns the colours as roles: rail is AlternateBase, card Base, secondary PlaceholderText,
// hairline Mid, outline Dark, accent Highlight.
QPalette paletteOf(const Colours& colours);

bool isDark(const QPalette& palette);

// Amber that stands out from the palette's card and rail.
QColor warningColour(const QPalette& palette);

// Gives `window` and everything in it the palette and the style sheet for `mode`. With System they
// derive from the application's palette, which follows the desktop; call again when that changes,
// and when something has been added to the window.
void applyAppearance(QWidget& window, AppearanceMode mode);

// Returns the application's font: Inter if it is installed, else the system's own, at the system's
// size but not below 10 points.
QFont applicationFont(const QFont& system);

// In a window that is laid out from right to left, aligns the texts of the labels below `root` at
// the right. The toolkit would align each by the direction of the text itself.
void alignLabels(QWidget& root);

}  // namespace quillmoor::host
