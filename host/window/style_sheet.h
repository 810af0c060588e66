// The look of the window's widgets, as one style sheet of the toolkit.
#pragma once

#include <QFont>
#include <QString>

#include "host/window/appearance.h"

namespace quillmoor::host {

// Returns the sheet. It selects widgets by these properties:
//   a label's property "textStyle", "title" or "heading"; their sizes are multiples of `body`'s
//   a label's property "stepState", "current"
//   a widget's property "part", "rail" or "card"
QString styleSheetFor(const Colours& colours, const QFont& body);

}  // namespace quillmoor::host
