#include <gtest/gtest.h>

#include "quillmoor/paths/KXLocalPaths.h"
#include "tests/faults/fault_loop.h"

namespace quillmoor::test {
namespace {

enum class AfterFault { RightOrNil, AnyPath };

FaultScenario pathScenario(std::string name, const std::string& operation,
                           std::function<OptionalPath()> ask, AfterFault afterFault) {
    return {std::move(name),
            {"KXLocalPaths " + operation},
            [=](FaultRun& run) {
                const OptionalPath expected = ask();
                OptionalPath path;
                run.inject([&] { path = ask(); });
                if (run.faulted() && (!path || afterFault == AfterFault::AnyPath)) return;
                EXPECT_EQ(path, expected);
            },
            Throws::AndMemory};
}

// A path that is right, or nil after a fault.
FaultScenario location(std::string name, const std::string& operation,
                       std::function<OptionalPath()> ask) {
    return pathScenario(std::move(name), operation, std::move(ask), AfterFault::RightOrNil);
}

// Where the user's own setting cannot be read, the usual path is returned.
FaultScenario settable(std::string name, const std::string& operation,
                       std::function<OptionalPath()> ask) {
    return pathScenario(std::move(name), operation, std::move(ask), AfterFault::AnyPath);
}

std::vector<FaultScenario> folderScenarios() {
    constexpr UserDomain kUser = UserDomain::Yes;
    return {
        location("PathForDirectory", "pathForDirectory:forUserDomain:",
                 [] {
                     return KXLocalPaths::pathForDirectory(platform::SearchPathDirectory::Library,
                                                           platform::SearchPathDomainMask::User);
                 }),
        location("ApplicationDirectory",
                 "applicationDirectory:", [] { return KXLocalPaths::applicationDirectory(kUser); }),
        location("AdminApplicationDirectory", "adminApplicationDirectory:",
                 [] { return KXLocalPaths::adminApplicationDirectory(kUser); }),
        settable("DocumentDirectory",
                 "documentDirectory:", [] { return KXLocalPaths::documentDirectory(kUser); }),
        location("LibraryDirectory",
                 "libraryDirectory:", [] { return KXLocalPaths::libraryDirectory(kUser); }),
        location("PrefsDirectory",
                 "prefsDirectory:", [] { return KXLocalPaths::prefsDirectory(kUser); }),
        location("CacheDirectory",
                 "cacheDirectory:", [] { return KXLocalPaths::cacheDirectory(kUser); }),
        location("AppSupportDirectory",
                 "appSupportDirectory:", [] { return KXLocalPaths::appSupportDirectory(kUser); }),
        location("LogDirectory", "logDirectory:", [] { return KXLocalPaths::logDirectory(kUser); }),
        settable("MovieDirectory", "movieDirectory", [] { return KXLocalPaths::movieDirectory(); }),
        settable("DesktopDirectory", "desktopDirectory",
                 [] { return KXLocalPaths::desktopDirectory(); }),
        location("SystemLibraryDirectory", "systemLibraryDirectory",
                 [] { return KXLocalPaths::systemLibraryDirectory(); }),
        location("LocalDocumentationDirectory", "localDocumentationDirectory",
                 [] { return KXLocalPaths::localDocumentationDirectory(); }),
        location("TrashDirectory", "trashDirectory", [] { return KXLocalPaths::trashDirectory(); }),
        location("DarwinCacheDirectory", "darwinCacheDirectory",
                 [] { return KXLocalPaths::darwinCacheDirectory(); }),
        location("UserDirectory", "userDirectory", [] { return KXLocalPaths::userDirectory(); }),
        location("Username", "username", [] { return KXLocalPaths::username(); }),
        location("CurrentConsoleUser", "currentConsoleUser",
                 [] { return KXLocalPaths::currentConsoleUser(); }),
    };
}

std::vector<FaultScenario> guardScenarios() {
    return {
        // No fault takes the protection away.
        {"IsPathSystemDirectory",
         {"KXLocalPaths isPathSystemDirectory:exactMatch:", "KXLocalPaths isPathSystemDirectory:",
          "KXLocalPaths isPathOnTimeMachineVolume:"},
         [](FaultRun& run) {
             bool isSystem = false;
             bool isBelowSystem = false;
             bool isBackup = false;
             run.inject([&] {
                 isSystem =
                     KXLocalPaths::isPathSystemDirectory(given("/Applications"), ExactMatch::Yes);
                 isBelowSystem = KXLocalPaths::isPathSystemDirectory(given("/usr/bin"));
                 isBackup = KXLocalPaths::isPathOnTimeMachineVolume(
                     given("/Volumes/a/Backups.backupdb/b"));
             });
             EXPECT_TRUE(isSystem);
             EXPECT_TRUE(isBelowSystem);
             EXPECT_TRUE(isBackup);
         },
         Throws::AndMemory},
    };
}

std::vector<FaultScenario> scratchScenarios() {
    return {
        {"Scratch",
         {"KXLocalPaths tempDirectory", "KXLocalPaths uuid",
          "KXLocalPaths randomString:", "KXLocalPaths tempFile"},
         [](FaultRun& run) {
             std::string folder;
             std::string unique;
             std::string letters;
             std::string file;
             run.inject([&] {
                 folder = KXLocalPaths::tempDirectory();
                 unique = KXLocalPaths::uuid();
                 letters = KXLocalPaths::randomString(40);
                 file = KXLocalPaths::tempFile();
             });
             if (run.faulted()) return;
             EXPECT_TRUE(file.starts_with(folder + "/"));
             EXPECT_EQ(letters.size(), 40U);
             EXPECT_FALSE(unique.empty());
         },
         Throws::AndMemory},
    };
}

}  // namespace

std::vector<FaultScenario> pathScenarios() {
    std::vector<FaultScenario> all;
    for (const auto& part : {folderScenarios, guardScenarios, scratchScenarios})
        for (FaultScenario& scenario : part()) all.push_back(std::move(scenario));
    return all;
}

}  // namespace quillmoor::test
