#include <variant>

#include "quillmoor/base/dates.h"
#include "quillmoor/base/paths.h"
#include "quillmoor/log/KXLog.h"
#include "quillmoor/paths/KXLocalPaths.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor {
namespace {

constexpr char kLogFolder[] = "/Logs/Quillmoor";
constexpr char kPreferencesFile[] = "com.quillmoor.shared.plist";
constexpr char kDisableLoggingKey[] = "disable-logging";
constexpr long kGenerations = 5;

bool isRoot() {
    return platform::current().processInfo->realUserId() == 0;
}

void print(std::string_view text) {
    platform::current().console->print(text);
}

OptionalPath logFolder(UserDomain userDomain) {
    OptionalPath library = KXLocalPaths::libraryDirectory(userDomain);
    if (library) library->append(kLogFolder);
    return library;
}

OptionalPath generationPath(const OptionalPath& folder, const OptionalString& name, long n) {
    if (!folder) return std::nullopt;
    return *folder + formatted("/%@.%li.log", name, n);
}

bool exists(const OptionalPath& path) {
    return path && platform::current().fileManager->fileExists(*path);
}

// A file that cannot be examined counts as existing: its contents must not be replaced.
bool mayExist(const OptionalPath& path) {
    return path && !platform::current().fileManager->isMissing(*path);
}

// A string "1", or a number equal to 1; true counts as 1.
bool meansYes(const platform::PropertyListValue& value) {
    if (const auto* text = std::get_if<std::string>(&value.value)) return *text == "1";
    if (const auto* flag = std::get_if<bool>(&value.value)) return *flag;
    if (const auto* number = std::get_if<std::int64_t>(&value.value)) return *number == 1;
    if (const auto* number = std::get_if<double>(&value.value)) return *number == 1.0;
    return false;
}

}  // namespace

void KXLog::createNewLog() noexcept {
    // Not a temporary: g++ 12 takes one for uninitialised at -O3.
    static constinit const OptionalString noName;
    createNewLog(noName);
}

// In a child made by fork it would shift the generations of the parent, and write nothing.
void KXLog::createNewLog(const OptionalString& appName) noexcept {
    KXLog* const log = sharedController();
    if (log == nullptr || log->isForkedCopy_) return;
    try {
        startLog(*log, appName);
    } catch (...) {
        reportCaughtException();
    }
}

void KXLog::startLog(KXLog& log, const OptionalString& appName) {
    // First: after a failure below no message may go to the file of the old generation.
    log.setFileHandle(nullptr);
    if (isDisabledByPreferences()) {
        print("Logging is disabled\n");
        log.setLoggingDisabled(true);
        return;
    }
    if (appName && !log.findName()) log.storeName(appName);
    log.setBytesWritten(0);
    if (log.findName().value_or("").empty()) log.storeName("Unknown");

    const std::string name = log.findName().value_or("");
    const OptionalPath folder = logFolder(UserDomain::Yes);
    const OptionalPath current = log.currentLogPath(name);
    if (!exists(folder) &&
        (!folder || !platform::current().fileManager->createDirectoryWithIntermediates(*folder))) {
        print(formatted("Unable to create folder %s.\n", folder));
        return;
    }
    if (mayExist(current) && !log.rotate(folder, name)) return;
    if (log.startFile(current)) log.appendHeader();
}

bool KXLog::isDisabledByPreferences() {
    const OptionalPath path =
        appendPathComponent(KXLocalPaths::prefsDirectory(UserDomain::Yes), kPreferencesFile);
    if (!path) return false;
    const auto preferences = platform::current().propertyLists->dictionaryWithContentsOfFile(*path);
    if (!preferences) return false;
    const auto found = preferences->find(kDisableLoggingKey);
    return found != preferences->end() && meansYes(found->second);
}

// Root's newest generation is in the machine's own library, while the folder that is created, and
// in which generations are shifted, is the user's. Both are kept for compatibility.
OptionalPath KXLog::currentLogPath(const OptionalString& name) const {
    return generationPath(logFolder(isRoot() ? UserDomain::No : UserDomain::Yes), name, 1);
}

// From the oldest to the newest, so that no move finds its destination taken. A generation that
// does not exist is skipped, so gaps move along.
bool KXLog::rotate(const OptionalPath& logFolder, const std::string& name) {
    platform::FileManager& files = *platform::current().fileManager;
    const OptionalPath oldest = generationPath(logFolder, name, kGenerations);
    // If this fails, moving generation 4 there fails as well, and is reported.
    if (mayExist(oldest)) static_cast<void>(files.removeItem(*oldest));
    for (long n = kGenerations - 1; n >= 1; --n) {
        const OptionalPath from = generationPath(logFolder, name, n);
        const OptionalPath to = generationPath(logFolder, name, n + 1);
        if (!mayExist(from) || files.moveItem(*from, *to)) continue;
        print(formatted("Unable to move file %s to %s.\n", from, to));
        return false;
    }
    return true;
}

bool KXLog::startFile(const OptionalPath& path) {
    const Outcome written = path ? platform::current().fileManager->writeAtomically(*path, "")
                                 : Outcome::failure({0, "no such folder"});
    if (!written) {
        print(formatted("Unable to create log file %s - %s\n", path, written.error().description));
        return false;
    }
    auto handle = platform::current().fileHandles->openForWriting(*path);
    if (!handle) return false;
    // Other processes may write to the same file: each line must go to its end.
    handle->writeAtEndOnly();
    setFileHandle(std::move(handle));
    return true;
}

void KXLog::appendHeader() {
    const platform::Platform& system = platform::current();
    fastAppendLog("Log started: %@\n", dateDescription(system.clock->now()));
    const auto bundle =
        system.bundles->bundleForCode(reinterpret_cast<const void*>(&KXLog::sharedController));
    if (bundle) {
        if (const OptionalString version = bundle->infoDictionaryText("CFBundleVersion"))
            fastAppendLog("Version: %@\n", version);
        fastAppendLog("Path: %@\n", bundle->executablePath());
    }
    constexpr double kPerKilo = 1.0 / 1024;
    const double gigabytes =
        static_cast<double>(system.processInfo->physicalMemory()) * kPerKilo * kPerKilo * kPerKilo;
    // The only line of the header that may wait for the queue. Kept for compatibility.
    appendLog("System: OS X %@, %li CPU(s), %0.2f GB RAM\n",
              system.processInfo->operatingSystemVersionString(),
              system.processInfo->processorCount(), gigabytes);
    if constexpr (sizeof(void*) == 8) {
        fastAppendLog("Running in 64-bit mode\n");
    } else {
        fastAppendLog("Running in 32-bit mode\n");
    }
}

StringList KXLog::availableLogs() noexcept {
    StringList found;
    KXLog* const log = sharedController();
    if (log == nullptr) return found;
    try {
        const OptionalPath folder = logFolder(UserDomain::Yes);
        for (long n = 1; n <= kGenerations; ++n) {
            const OptionalPath path = generationPath(folder, log->findName(), n);
            if (exists(path)) found.push_back(*path);
        }
    } catch (...) {
        reportCaughtException();
    }
    return found;
}

}  // namespace quillmoor
