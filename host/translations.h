// The user's languages, and the window's texts in them.
#pragma once

#include <QStringList>
#include <QTranslator>

namespace quillmoor::host {

// Puts the window's texts in the best of the user's languages that there is a translation for, and
// lays windows out in the direction in which that user reads. English needs no translation.
class Languages {
  public:
    // "" takes the system's languages. Needs an application object and must not outlive it.
    explicit Languages(const QString& wish);

    // Best first, as "de-AT", "de".
    const QStringList& preferred() const { return preferred_; }

  private:
    void translate();

    QStringList preferred_;
    QTranslator translator_;
};

}  // namespace quillmoor::host
