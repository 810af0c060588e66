#include "examples/tallyframe/tally_store.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <algorithm>

#include "quillmoor/base/paths.h"
#include "quillmoor/paths/KXLocalPaths.h"

namespace quillmoor::tallyframe {

QString counterFile() {
    const OptionalPath file = appendPathComponent(
        KXLocalPaths::appSupportDirectory(UserDomain::Yes), "Tallyframe/Counters.json");
    return file ? QFile::decodeName(file->c_str()) : QString();
}

Counters readCounters(const QString& file, const QString& defaults) {
    // An existing list that is empty stays empty: the defaults are for the first run.
    QFile source(QFileInfo::exists(file) ? file : defaults);
    Counters counters;
    if (!source.open(QIODevice::ReadOnly)) return counters;
    for (const auto& value : QJsonDocument::fromJson(source.readAll()).array()) {
        if (!value.isObject()) continue;
        const QJsonObject object = value.toObject();
        // Users may edit the file: a count is never negative.
        counters.push_back({object[QLatin1String("name")].toString(),
                            std::max(object[QLatin1String("value")].toInt(), 0)});
    }
    return counters;
}

bool writeCounters(const QString& file, const Counters& counters) {
    if (file.isEmpty() || !QDir().mkpath(QFileInfo(file).path())) return false;
    QJsonArray array;
    for (const Counter& counter : counters)
        array.append(QJsonObject{{QStringLiteral("name"), counter.name},
                                 {QStringLiteral("value"), counter.value}});
    // Written beside the file and renamed: a crash leaves the old counters.
    QSaveFile target(file);
    const QByteArray text = QJsonDocument(array).toJson();
    return target.open(QIODevice::WriteOnly) && target.write(text) == text.size() &&
           target.commit();
}

}  // namespace quillmoor::tallyframe
