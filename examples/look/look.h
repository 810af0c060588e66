// How the windows of Tallyframe and its uninstaller look: one palette for light desktops, one for
// dark ones, and the few shapes that both programs use.
#pragma once

#include <QFrame>
#include <QLabel>
#include <QString>

namespace quillmoor::tallyframe {

// Before the application object is made: without X11 and Wayland windows are drawn where nobody
// sees them, unless QT_QPA_PLATFORM says otherwise.
void chooseDisplay();

// Whether anybody can see the windows.
bool canBeSeen();

// Names the application and gives it palette, font and shapes. TALLYFRAME_APPEARANCE, "light" or
// "dark", wins over the desktop's.
void applyLook(const QString& name);

// A label that wraps. Styles: title, heading, body, path, good, warning.
QLabel* newLabel(QWidget* parent, const char* style);

// A raised panel.
QFrame* newCard(QWidget* parent);

}  // namespace quillmoor::tallyframe
