// One section of the installer: a pane with a title and a widget.
#pragma once

#include <QString>
#include <QWidget>
#include <memory>

#include "host/sections/pane_sequence.h"

namespace quillmoor::host {

class Section : public SequencedPane {
  public:
    virtual QString title() const = 0;

    // Returns the widget that the pane shows. Called once; the caller owns the widget and destroys
    // it before the section.
    virtual std::unique_ptr<QWidget> takeWidget() = 0;

    // Returns true for the section that shows why another could not be loaded.
    virtual bool isProblem() const { return false; }

    // Returns true for a section of a plug-in that was loaded.
    virtual bool isPlugin() const { return false; }
};

}  // namespace quillmoor::host
