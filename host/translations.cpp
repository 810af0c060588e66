#include "host/translations.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QLocale>

namespace quillmoor::host {

Languages::Languages(const QString& wish) {
    const QLocale locale = wish.isEmpty() ? QLocale() : QLocale(wish);
    if (wish.isEmpty())
        // The whole list: a bundle may have only a later one.
        preferred_ = QLocale::system().uiLanguages();
    else
        // As the system's list and the folders of bundles write it: pt-BR.
        preferred_.append(QString(wish).replace('_', '-'));
    if (locale.textDirection() == Qt::RightToLeft)
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    translate();
}

void Languages::translate() {
    for (const QString& language : preferred_) {
        const QString plain = language.section('-', 0, 0);
        // A user who prefers English must not get a language that is further down the list.
        if (plain == QLatin1String("en") || plain == QLatin1String("C")) return;
        // By language alone: the host has one translation for all regions.
        if (!translator_.load(QStringLiteral(":/i18n/installer-host_") + plain)) continue;
        QCoreApplication::installTranslator(&translator_);
        return;
    }
}

}  // namespace quillmoor::host
