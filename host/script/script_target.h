// The interface that a script operates.
#pragma once

#include <QImage>
#include <QString>
#include <QWidget>

namespace quillmoor::host {

class ScriptTarget {
  public:
    virtual ~ScriptTarget() = default;

    // As the user's buttons: past the last and before the first step they do nothing.
    virtual void userContinues() = 0;
    virtual void userGoesBack() = 0;

    // The title of the step that is shown.
    virtual QString shownTitle() const = 0;

    // Returns the widget with this name, preferably on the shown step; null if there is none.
    virtual QWidget* widgetNamed(const QString& name) const = 0;

    // Returns the window as it is drawn now.
    virtual QImage picture() = 0;
};

}  // namespace quillmoor::host
