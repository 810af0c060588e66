// What a script drives.
#pragma once

#include <QImage>
#include <QString>
#include <QWidget>

namespace quillmoor::host {

class ScriptTarget {
  public:
    virtual ~ScriptTarget() = default;

    // The user's wishes; past the last and before the first step nothing happens.
    virtual void userContinues() = 0;
    virtual void userGoesBack() = 0;

    // The title of the step that is shown.
    virtual QString shownTitle() const = 0;

    // A widget by its name, on the shown step if it is there, else anywhere; null if nowhere.
    virtual QWidget* widgetNamed(const QString& name) const = 0;

    // The window as it is drawn now.
    virtual QImage picture() = 0;
};

}  // namespace quillmoor::host
