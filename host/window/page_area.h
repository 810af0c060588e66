// The area in which a step's page is shown.
#pragma once

#include <QScrollArea>
#include <memory>

namespace quillmoor::host {

// Returns a card whose contents scroll if they need more room; only then does it take the keyboard
// focus.
QScrollArea* newPageArea(QWidget* parent);

// Puts `page` in the area, which owns it from then on. Call once for each area.
void setPage(QScrollArea& area, std::unique_ptr<QWidget> page);

}  // namespace quillmoor::host
