// The contract of Locations for every back-end.
#include "quillmoor/platform/locations.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <limits>
#include <memory>
#include <vector>

#include "quillmoor/platform/platform.h"
#include "tests/contract/services/back_end.h"
#include "tests/contract/services/memory_services.h"

namespace quillmoor::platform {
namespace {

using Directory = SearchPathDirectory;
using Domain = SearchPathDomainMask;

struct Implementation {
    const char* name;
    Locations* (*make)();
    bool (*isRoot)();
};

Locations* memoryLocations(const char* user) {
    static std::vector<std::unique_ptr<test::MemoryLocations>> made;
    made.push_back(std::make_unique<test::MemoryLocations>(
        user, std::filesystem::temp_directory_path().string()));
    made.back()->addUser("al", "/home/al");
    return made.back().get();
}

class LocationsContract : public testing::TestWithParam<Implementation> {
  protected:
    Locations& locations() { return *locations_; }

    StringList search(Directory directory, Domain domain) {
        return locations().searchPaths(directory, domain);
    }

    // The beginning of user folders. The library moves root's later.
    std::string usersRoot() {
        return GetParam().isRoot() ? "/var/root" : locations().homeDirectory();
    }

  private:
    Locations* locations_ = GetParam().make();
};

TEST_P(LocationsContract, UserFoldersLieInTheHome) {
    EXPECT_EQ(search(Directory::Library, Domain::User), (StringList{usersRoot() + "/Library"}));
    EXPECT_EQ(search(Directory::Application, Domain::User),
              (StringList{usersRoot() + "/Applications"}));
    EXPECT_EQ(search(Directory::AdminApplication, Domain::User),
              (StringList{usersRoot() + "/Applications/Utilities"}));
    EXPECT_EQ(search(Directory::Caches, Domain::User),
              (StringList{usersRoot() + "/Library/Caches"}));
    EXPECT_EQ(search(Directory::ApplicationSupport, Domain::User),
              (StringList{usersRoot() + "/Library/Application Support"}));
}

TEST_P(LocationsContract, EveryUserHasDocumentsADesktopAndMovies) {
    for (const Directory kind : {Directory::Document, Directory::Desktop, Directory::Movies}) {
        const StringList paths = search(kind, Domain::User);
        ASSERT_EQ(paths.size(), 1U);
        EXPECT_TRUE(paths.front().starts_with(usersRoot() + "/")) << paths.front();
        EXPECT_FALSE(paths.front().ends_with('/')) << paths.front();
    }
}

TEST_P(LocationsContract, FoldersOfTheMachineHaveFixedPlaces) {
    EXPECT_EQ(search(Directory::Library, Domain::Local), (StringList{"/Library"}));
    EXPECT_EQ(search(Directory::Application, Domain::Local), (StringList{"/Applications"}));
    EXPECT_EQ(search(Directory::AdminApplication, Domain::Local),
              (StringList{"/Applications/Utilities"}));
    EXPECT_EQ(search(Directory::Documentation, Domain::Local),
              (StringList{"/Library/Documentation"}));
    EXPECT_EQ(search(Directory::Library, Domain::System), (StringList{"/System/Library"}));
}

TEST_P(LocationsContract, ReturnsTheUsersFolderBeforeOtherDomains) {
    EXPECT_EQ(search(Directory::Library, Domain::System | Domain::User | Domain::Local),
              (StringList{usersRoot() + "/Library", "/Library", "/System/Library"}));
}

TEST_P(LocationsContract, AKindThatADomainLacksAddsNothing) {
    EXPECT_TRUE(search(Directory::Desktop, Domain::Local).empty());
    EXPECT_TRUE(search(static_cast<Directory>(12345), Domain::User).empty());
}

TEST_P(LocationsContract, TheHomeIsAnAbsolutePath) {
    EXPECT_TRUE(locations().homeDirectory().starts_with('/'));
}

TEST_P(LocationsContract, HasANameForTheUserAndAHomeForRoot) {
    EXPECT_FALSE(locations().userName().empty());
    EXPECT_TRUE(locations().homeDirectoryForUser(locations().userName()).has_value());
    EXPECT_TRUE(locations().homeDirectoryForUser("root").has_value());
}

TEST_P(LocationsContract, AnUnknownUserHasNoHome) {
    for (const std::string& name :
         {std::string("no such user, surely"), std::string(), std::string("root\0x", 6)})
        EXPECT_EQ(locations().homeDirectoryForUser(name), std::nullopt) << name;
}

TEST_P(LocationsContract, TheCacheFolderIsWrittenAsFarAsItFits) {
    std::array<char, 1024> buffer{};
    const std::size_t size = locations().confstr(kDarwinUserCacheDirectory, buffer);
    ASSERT_GT(size, 1U);
    const std::string value(buffer.data());
    EXPECT_EQ(value.size() + 1, size);
    EXPECT_TRUE(value.starts_with('/'));

    std::array<char, 4> small{'x', 'x', 'x', 'x'};
    EXPECT_EQ(locations().confstr(kDarwinUserCacheDirectory, std::span(small).first(3)), size);
    EXPECT_EQ(std::string(small.data(), 4), value.substr(0, 2) + std::string("\0x", 2));
    EXPECT_EQ(locations().confstr(kDarwinUserCacheDirectory, {}), size);
}

TEST_P(LocationsContract, HasNoValueForAnUnknownVariable) {
    std::array<char, 4> buffer{'x', 'x', 'x', 'x'};
    for (const int name :
         {0, 1, kDarwinUserCacheDirectory + 1, -1, std::numeric_limits<int>::max()})
        EXPECT_EQ(locations().confstr(name, buffer), 0U) << name;
    EXPECT_EQ(buffer.front(), 'x');
}

TEST_P(LocationsContract, TheTemporaryFolderExistsAndIsAbsolute) {
    const std::string folder = locations().temporaryDirectory();
    EXPECT_TRUE(std::filesystem::is_directory(folder)) << folder;
    EXPECT_TRUE(folder.starts_with('/'));
}

INSTANTIATE_TEST_SUITE_P(
    All, LocationsContract,
    testing::Values(Implementation{"Native", [] { return native().locations; },
                                   [] { return native().processInfo->realUserId() == 0; }},
                    Implementation{"MemoryOfAUser", [] { return memoryLocations("al"); },
                                   [] { return false; }},
                    Implementation{"MemoryOfTheSuperUser", [] { return memoryLocations("root"); },
                                   [] { return true; }}),
    nameOf<Implementation>);

}  // namespace
}  // namespace quillmoor::platform
