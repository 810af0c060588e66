// The look of Tallyframe's and its uninstaller's windows: one palette for light desktops, one for
// dark ones, and the few shapes that both programs use.
#pragma once

#include <QFrame>
#include <QLabel>
#include <QString>

namespace quillmoor::tallyframe {

// Without X11 and Wayland, has windows drawn off screen, unless QT_QPA_PLATFORM is set. Call before
// the application object is created.
void chooseDisplay();

// Returns whether windows appear on a screen.
bool canBeSeen();

// Sets the application's name, palette, font and style sheet. TALLYFRAME_APPEARANCE, "light" or
// "dark", takes precedence over the desktop's appearance.
void applyLook(const QString& name);

// Returns a label that wraps. Styles: title, heading, body, path, good, warning.
QLabel* newLabel(QWidget* parent, const char* style);

// Returns a raised panel.
QFrame* newCard(QWidget* parent);

}  // namespace quillmoor::tallyframe
