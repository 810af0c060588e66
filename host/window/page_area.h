// Where a step's page is shown.
#pragma once

#include <QScrollArea>
#include <memory>

namespace quillmoor::host {

// A card whose contents scroll when they need more room; only then does it take the keyboard's
// focus.
QScrollArea* newPageArea(QWidget* parent);

// Puts `page` in the area; once. The area owns it from then on.
void setPage(QScrollArea& area, std::unique_ptr<QWidget> page);

}  // namespace quillmoor::host
