// How the window's widgets look, as one style sheet of the toolkit.
#pragma once

#include <QFont>
#include <QString>

#include "host/window/appearance.h"

namespace quillmoor::host {

// What the sheet knows a widget by:
//   a label's property "textStyle", "title" or "heading"; `body` is what their sizes derive from
//   a label's property "stepState", "current"
//   a widget's property "part", "rail" or "card"
QString styleSheetFor(const Colours& colours, const QFont& body);

}  // namespace quillmoor::host
