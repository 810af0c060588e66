#include "tests/authorization/probe_files.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/paths/KXLocalPaths.h"

namespace quillmoor::probe {
namespace {

using Files = KXFileManager;

constexpr std::chrono::seconds kTimeout{10};
constexpr unsigned kMode = 0777;
constexpr unsigned kLabel = 4;

// One call: its form, and its paths.
struct Call {
    std::string form;
    OptionalPath path;
    OptionalPath other;
};

using Operation = std::function<std::string(const Call&)>;

std::string answer(bool yes) {
    return yes ? "YES" : "NO";
}

std::string joined(const StringList& items) {
    std::string line;
    for (const std::string& item : items) line += (line.empty() ? "" : "\t") + item;
    return line;
}

std::optional<ShouldAuth> shouldAuthOf(const Call& call) {
    if (call.form == "yes") return ShouldAuth::Yes;
    if (call.form == "no") return ShouldAuth::No;
    return std::nullopt;
}

// The three forms of an operation on one path.
template <typename Form>
Operation onPath(Form form) {
    return [form](const Call& call) {
        if (call.form == "timeout") return answer(form(call.path, kTimeout));
        if (const auto shouldAuth = shouldAuthOf(call)) return answer(form(call.path, *shouldAuth));
        return answer(form(call.path));
    };
}

// The same, of an operation from one path to another.
template <typename Form>
Operation onPaths(Form form) {
    return [form](const Call& call) {
        if (call.form == "timeout") return answer(form(call.path, call.other, kTimeout));
        if (const auto shouldAuth = shouldAuthOf(call))
            return answer(form(call.path, call.other, *shouldAuth));
        return answer(form(call.path, call.other));
    };
}

std::string trashContents(const Call& call) {
    const auto shouldAuth = shouldAuthOf(call);
    return answer(shouldAuth ? Files::trashDirectoryContents(call.path, *shouldAuth)
                             : Files::trashDirectoryContents(call.path));
}

std::string touch(const Call& call) {
    return answer(call.form == "created" ? Files::touchFile(call.path, SetCreationDate::Yes)
                                         : Files::touchFile(call.path));
}

// What has one form.
const std::map<std::string, Operation>& singleOperations() {
    const auto done = [](auto work) {
        return [work](const Call& call) { return work(call), std::string("done"); };
    };
    static const std::map<std::string, Operation> all = {
        {"trashContents", trashContents},
        {"trashType",
         [](const Call& call) { return joined(Files::trashFilesOfType(call.other, call.path)); }},
        {"trashNamed",
         [](const Call& call) { return joined(Files::trashFilesNamed(call.other, call.path)); }},
        {"removeIfEmpty",
         [](const Call& call) { return answer(Files::removeFolderIfEmpty(call.path)); }},
        {"createStructure",
         [](const Call& call) {
             return Files::createDirectoryStructure(call.path, call.other).value_or("nil");
         }},
        {"createFile", [](const Call& call) { return answer(Files::createEmptyFile(call.path)); }},
        {"copyContents",
         [](const Call& call) {
             return answer(Files::copyContentsOfDirectory(call.path, call.other, kTimeout));
         }},
        {"copyWithProgress",
         [](const Call& call) {
             return answer(Files::copyFileWithProgress(call.path, call.other, nullptr, nullptr));
         }},
        {"compress",
         [](const Call& call) { return answer(Files::compressFile(call.path, call.other)); }},
        {"decompress",
         [](const Call& call) { return answer(Files::decompressFile(call.path, call.other)); }},
        {"touch", touch},
        {"date",
         [](const Call& call) {
             return answer(Files::setModificationDate(std::chrono::system_clock::now(), call.path));
         }},
        {"lock", done([](const Call& call) { Files::lockFile(call.path); })},
        {"unlock", done([](const Call& call) { Files::unlockFile(call.path); })},
        {"lockFolder", done([](const Call& call) { Files::lockFolder(call.path); })},
        {"unlockFolder", done([](const Call& call) { Files::unlockFolder(call.path); })},
        {"mode", done([](const Call& call) { Files::setPosixPermissions(kMode, call.path); })},
        {"label", done([](const Call& call) { Files::setFinderColorIndex(kLabel, call.path); })}};
    return all;
}

const std::map<std::string, Operation>& operations() {
    static const std::map<std::string, Operation> all = [] {
        std::map<std::string, Operation> map = singleOperations();
        map["trash"] = onPath([](const auto&... words) { return Files::trashFile(words...); });
        map["remove"] = onPath([](const auto&... words) { return Files::removeFile(words...); });
        map["create"] =
            onPath([](const auto&... words) { return Files::createDirectory(words...); });
        map["copy"] = onPaths([](const auto&... words) { return Files::copyFile(words...); });
        map["move"] = onPaths([](const auto&... words) { return Files::moveFile(words...); });
        return map;
    }();
    return all;
}

}  // namespace

std::string callFileManager(const StringList& words) {
    const auto operation = operations().find(words.at(1));
    if (operation == operations().end()) return "unknown";
    const auto path = [&](std::size_t index) {
        return index < words.size() ? OptionalPath(words[index]) : std::nullopt;
    };
    return operation->second({words.at(2), path(3), path(4)});
}

std::string protectedFolders(const StringList&) {
    StringList folders = {"/", "/Users/Shared", "/Volumes"};
    const auto add = [&](const OptionalPath& folder) {
        if (folder && std::find(folders.begin(), folders.end(), *folder) == folders.end())
            folders.push_back(*folder);
    };
    for (const UserDomain domain : {UserDomain::Yes, UserDomain::No})
        for (const auto directory :
             {KXLocalPaths::applicationDirectory, KXLocalPaths::adminApplicationDirectory,
              KXLocalPaths::documentDirectory, KXLocalPaths::libraryDirectory,
              KXLocalPaths::prefsDirectory, KXLocalPaths::cacheDirectory,
              KXLocalPaths::appSupportDirectory})
            add(directory(domain));
    for (const auto directory :
         {KXLocalPaths::desktopDirectory, KXLocalPaths::userDirectory,
          KXLocalPaths::systemLibraryDirectory, KXLocalPaths::localDocumentationDirectory})
        add(directory());
    return joined(folders);
}

}  // namespace quillmoor::probe
