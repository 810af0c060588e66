// One section of the installer: a pane with a title and something to show.
#pragma once

#include <QString>
#include <QWidget>
#include <memory>

#include "host/sections/pane_sequence.h"

namespace quillmoor::host {

class Section : public SequencedPane {
  public:
    virtual QString title() const = 0;

    // What the pane shows. Called once; the caller owns it and destroys it before the section.
    virtual std::unique_ptr<QWidget> takeWidget() = 0;

    // The section could not be loaded and shows why.
    virtual bool isProblem() const { return false; }

    // The section comes from a plug-in that was loaded.
    virtual bool isPlugin() const { return false; }
};

}  // namespace quillmoor::host
