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
    QColor hairline;   // decoration; nothing is told by it alone
    QColor outline;    // edges of controls, marks of steps
    QColor accent;
    QColor onAccent;
    QColor disabled;  // text and edges of what cannot be used now
};

// Every text keeps a contrast of 4.5 to its ground and every mark one of 3. An accent that would
// not is moved towards black, or replaced by the host's own if there is none.
Colours coloursFor(bool dark, const std::optional<QColor>& accent);

// WCAG's contrast ratio, 1 to 21.
double contrast(const QColor& one, const QColor& other);

// The colours as roles: rail is AlternateBase, card Base, secondary PlaceholderText, hairline Mid,
// outline Dark, accent Highlight.
QPalette paletteOf(const Colours& colours);

bool isDark(const QPalette& palette);

// Amber that stands out from the palette's card and rail.
QColor warningColour(const QPalette& palette);

// Gives `window` and everything in it the palette and the style sheet for `mode`. With System they
// derive from the application's palette, which follows the desktop; call again when that changes,
// and when something has been added to the window.
void applyAppearance(QWidget& window, AppearanceMode mode);

// The application's font: Inter where it is installed, else the system's own, at the system's size
// but not below 10 points.
QFont applicationFont(const QFont& system);

// In a window that is laid out from right to left, has the texts of the labels below `root` begin
// at its right side. The toolkit would begin each at the side at which the text itself is read.
void alignLabels(QWidget& root);

}  // namespace quillmoor::host
