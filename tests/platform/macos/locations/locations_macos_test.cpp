#include "quillmoor/platform/locations.h"

#include <gtest/gtest.h>

#include <array>

#include "quillmoor/base/paths.h"
#include "quillmoor/paths/KXLocalPaths.h"
#include "quillmoor/platform/native_services.h"
#include "tests/platform/macos/fakes/fake_core_foundation.h"
#include "tests/platform/macos/fakes/fake_search_paths.h"

namespace quillmoor::platform {
namespace {

using Search = test::FakeSearchPaths::Search;

class MacLocationsTest : public testing::Test {
  protected:
    Locations& locations() { return *nativeLocations(); }
    test::FakeSearchPaths paths_;
};

TEST_F(MacLocationsTest, ASearchPassesKindAndDomainAndExpandsTheTilde) {
    paths_.found = {"/Users/alice/Library", "/Library"};
    EXPECT_EQ(locations().searchPaths(SearchPathDirectory::Library,
                                      SearchPathDomainMask::User | SearchPathDomainMask::Local),
              paths_.found);
    EXPECT_EQ(paths_.searches, std::vector<Search>{(Search{5, 3, true})});
}

TEST_F(MacLocationsTest, EveryKindAndDomainHasTheSystemsNumber) {
    using Kind = SearchPathDirectory;
    unsigned long number = 0;
    for (const Kind kind :
         {Kind::Application, Kind::AdminApplication, Kind::Library, Kind::Documentation,
          Kind::Document, Kind::Desktop, Kind::Caches, Kind::ApplicationSupport, Kind::Movies}) {
        constexpr std::array<unsigned long, 9> kNumbers{1, 4, 5, 8, 9, 12, 13, 14, 17};
        for (const auto domain : {SearchPathDomainMask::User, SearchPathDomainMask::Local,
                                  SearchPathDomainMask::System}) {
            locations().searchPaths(kind, domain);
            EXPECT_EQ(paths_.searches.back(),
                      (Search{kNumbers[number], static_cast<unsigned long>(domain), true}));
        }
        ++number;
    }
}

TEST_F(MacLocationsTest, AFolderThatIsNowhereIsNotFound) {
    EXPECT_TRUE(
        locations().searchPaths(SearchPathDirectory::Movies, SearchPathDomainMask::System).empty());
}

TEST_F(MacLocationsTest, AHomeIsThatOfItsUser) {
    paths_.homes = {{"alice", "/Users/alice"}, {"root", "/var/root"}};
    EXPECT_EQ(locations().homeDirectoryForUser("alice"), "/Users/alice");
    EXPECT_EQ(locations().homeDirectoryForUser("nobody here"), std::nullopt);
    EXPECT_EQ(locations().homeDirectoryForUser("\xff"), std::nullopt);
    EXPECT_EQ(locations().homeDirectoryForUser(""), std::nullopt);
}

TEST_F(MacLocationsTest, TheHomeOfNoNameIsWhatTheSystemReturns) {
    paths_.homes = {{"root", "/var/root"}};
    EXPECT_EQ(locations().homeDirectoryForUser(std::nullopt), std::nullopt);
    paths_.homeOfNoName = "/Users/current";
    EXPECT_EQ(locations().homeDirectoryForUser(std::nullopt), "/Users/current");
}

TEST_F(MacLocationsTest, TheConsoleUserIsTheSystems) {
    test::FakeConsole console;
    EXPECT_EQ(locations().consoleUser(), std::nullopt);
    console.user = "alice";
    EXPECT_EQ(locations().consoleUser(), "alice");
}

TEST_F(MacLocationsTest, ConfstrReportsTheWholeSizeAndCutsTheValue) {
    paths_.cacheFolder = "/var/folders/x/C/";
    std::array<char, 64> buffer{};
    EXPECT_EQ(locations().confstr(kDarwinUserCacheDirectory, buffer), 18U);
    EXPECT_STREQ(buffer.data(), "/var/folders/x/C/");
    std::array<char, 5> small{};
    EXPECT_EQ(locations().confstr(kDarwinUserCacheDirectory, small), 18U);
    EXPECT_STREQ(small.data(), "/var");
    EXPECT_EQ(locations().confstr(1, buffer), 0U) << "another of the system's variables";
    paths_.cacheFolder = "";
    EXPECT_EQ(locations().confstr(kDarwinUserCacheDirectory, buffer), 0U);
}

TEST_F(MacLocationsTest, TheTemporaryFolderIsAsTheSystemReturnsIt) {
    for (const std::string folder : {"/var/folders/x/T/", "/var/folders/x/T"}) {
        paths_.temporary = folder;
        EXPECT_EQ(KXLocalPaths::tempDirectory(), folder);
    }
}

TEST_F(MacLocationsTest, AScratchPathIsInTheTemporaryFolder) {
    paths_.temporary = "/var/folders/x/T/";
    const std::string path = KXLocalPaths::tempFile();
    EXPECT_TRUE(path.starts_with("/var/folders/x/T/"));
    EXPECT_EQ(path.find("//"), std::string::npos);
    EXPECT_EQ(deleteLastPathComponent(path), "/var/folders/x/T");
}

}  // namespace
}  // namespace quillmoor::platform
