#include "examples/tallyframe/tally_store.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <algorithm>
#include <optional>

#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/paths/KXLocalPaths.h"

namespace quillmoor::tallyframe {
namespace {

OptionalPath pathOf(const QString& file) {
    return QFile::encodeName(file).toStdString();
}

std::optional<Counter> counterIn(const QJsonObject& object) {
    const QJsonValue name = object[QLatin1String("name")];
    const QJsonValue value = object[QLatin1String("value")];
    if (!name.isString() || !value.isDouble()) return std::nullopt;
    // Users may edit the file. As a double, because a number may be beyond every int.
    const double count = std::clamp(value.toDouble(), 0.0, double{kMostCounted});
    return Counter{name.toString(), static_cast<int>(count)};
}

}  // namespace

QString counterFile() {
    const OptionalPath file = appendPathComponent(
        KXLocalPaths::appSupportDirectory(UserDomain::Yes), "Tallyframe/Counters.json");
    return file ? QFile::decodeName(file->c_str()) : QString();
}

SavedCounters readCounters(const QString& file, const QString& defaults) {
    // An existing list that is empty stays empty: the defaults are for the first run.
    const bool isSaved = QFileInfo::exists(file);
    QFile source(isSaved ? file : defaults);
    QByteArray text;
    if (source.open(QIODevice::ReadOnly)) text = source.readAll();
    const auto document = QJsonDocument::fromJson(text);
    SavedCounters saved;
    saved.isDamaged = isSaved && !document.isArray();
    for (const auto& element : document.array()) {
        if (const auto counter = counterIn(element.toObject()))
            saved.counters.push_back(*counter);
        else
            saved.isDamaged = isSaved;
    }
    return saved;
}

QString keepDamaged(const QString& file) {
    const QFileInfo damaged(file);
    const QString wanted = QStringLiteral("%1/Damaged %2").arg(damaged.path(), damaged.fileName());
    const OptionalPath kept = KXFileManager::uniqueFilename(pathOf(wanted));
    // Fails if another item has taken the name meanwhile.
    if (!KXFileManager::moveFile(pathOf(file), kept, ShouldAuth::No)) return {};
    return QFileInfo(QFile::decodeName(kept->c_str())).fileName();
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
