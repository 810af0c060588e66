// The user's languages, and the window's texts in them.
#pragma once

#include <QStringList>
#include <QTranslator>

namespace quillmoor::host {

// Installs the translation for the first of the user's languages that has one, and lays windows out
// in the direction in which the user reads. English needs no translation.
class Languages {
  public:
    // `wish` is the language to use, "" for the system's languages. Needs an application object and
    // must not outlive it.
    explicit Languages(const QString& wish);

    // Best first, for example "de-AT", "de".
    const QStringList& preferred() const { return preferred_; }

  private:
    void translate();

    QStringList preferred_;
    QTranslator translator_;
};

}  // namespace quillmoor::host
