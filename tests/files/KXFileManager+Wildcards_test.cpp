#include "tests/files/files_fixture.h"

namespace quillmoor {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class Wildcards : public test::FilesTest {
  protected:
    StringList matching(const std::string& pattern) const {
        return KXFileManager::filesMatchingWildcardPath(pattern, folder_.path());
    }
};

TEST_F(Wildcards, MatchEveryExistingItemOfThatKind) {
    folder_.makeFolder("Applications/One.app");
    folder_.makeFolder("Applications/Two.app");
    folder_.writeFile("Applications/notes.txt");
    EXPECT_THAT(
        KXFileManager::filesMatchingWildcardPath(folder_ / "Applications/*.app"),
        UnorderedElementsAre(folder_ / "Applications/One.app", folder_ / "Applications/Two.app"));
}

TEST_F(Wildcards, KeepTheOrderOfTheListing) {
    for (int i = 0; i < 50; ++i) folder_.writeFile("f/" + std::to_string(i));
    const StringList names =
        platform::current().fileManager->contentsOfDirectory(folder_ / "f").value();
    StringList expected;
    for (const std::string& name : names) expected.push_back(folder_ / ("f/" + name));
    EXPECT_EQ(matching("f/*"), expected);
}

TEST_F(Wildcards, OfARelativePatternWithoutABaseStartAtTheRoot) {
    const StringList found = KXFileManager::filesMatchingWildcardPath("us*/bi*");
    EXPECT_THAT(found, ::testing::Contains("/usr/bin"));
}

TEST_F(Wildcards, OfAnAbsolutePatternStartAtTheBase) {
    folder_.writeFile("a/one");
    EXPECT_THAT(matching("/a/*"), ElementsAre(folder_ / "a/one"));
}

TEST_F(Wildcards, WithoutAStarReturnThePathItself) {
    EXPECT_THAT(matching("no/such"), ElementsAre(folder_ / "no/such"));
    EXPECT_THAT(KXFileManager::filesMatchingWildcardPath("no/such"), ElementsAre("no/such"));
    EXPECT_THAT(matching("a?c"), ElementsAre(folder_ / "a?c"));
}

TEST_F(Wildcards, MatchAQuestionMarkBesideAStar) {
    for (const char* name : {"f/abc",
                             "f/a\xC3\xA9"
                             "c.x",
                             "f/ac"})
        folder_.writeFile(name);
    EXPECT_THAT(matching("f/a?c*"), UnorderedElementsAre(folder_ / "f/abc", folder_ / "f/a\xC3\xA9"
                                                                                      "c.x"));
}

TEST_F(Wildcards, MatchAQuestionMarkLiterallyInAComponentWithoutAStar) {
    folder_.writeFile("f/bxc");
    EXPECT_THAT(matching("*/b?c"), IsEmpty());
    folder_.writeFile("f/b?c");
    EXPECT_THAT(matching("*/b?c"), ElementsAre(folder_ / "f/b?c"));
}

TEST_F(Wildcards, WithAMissingMiddleComponentMatchNothing) {
    folder_.writeFile("a/b/c");
    EXPECT_THAT(matching("a/gone/*"), IsEmpty());
    EXPECT_THAT(matching("*/b/c"), ElementsAre(folder_ / "a/b/c"));
    EXPECT_THAT(matching("*/gone"), IsEmpty());
    EXPECT_EQ(KXFileManager::decodeWildcardPath("a/gone/*", folder_.path()), folder_ / "a/gone/*");
}

TEST_F(Wildcards, MatchHiddenItemsButNotDanglingLinks) {
    folder_.writeFile("f/.hidden");
    folder_.makeLink("f/dangling", "nowhere");
    EXPECT_THAT(matching("f/*"), ElementsAre(folder_ / "f/.hidden"));
}

TEST_F(Wildcards, StayWithinOneLevel) {
    folder_.writeFile("f/a/b");
    EXPECT_THAT(matching("f*"), ElementsAre(folder_ / "f"));
    EXPECT_THAT(matching("f*/*/*"), ElementsAre(folder_ / "f/a/b"));
}

TEST_F(Wildcards, MatchBracketsAndBackslashesLiterally) {
    folder_.writeFile("f/[a]b");
    folder_.writeFile("f/a");
    folder_.writeFile("f/\\x");
    EXPECT_THAT(matching("f/[a]*"), ElementsAre(folder_ / "f/[a]b"));
    EXPECT_THAT(matching("f/\\*"), ElementsAre(folder_ / "f/\\x"));
}

TEST_F(Wildcards, AreDecodedToTheFirstMatch) {
    folder_.writeFile("f/one.txt");
    EXPECT_EQ(KXFileManager::decodeWildcardPath("f/*.txt", folder_.path()), folder_ / "f/one.txt");
    EXPECT_EQ(KXFileManager::decodeWildcardPath("gone", folder_.path()), folder_ / "gone");
    EXPECT_EQ(KXFileManager::decodeWildcardPath("gone", std::nullopt), "gone");
    EXPECT_EQ(KXFileManager::decodeWildcardPath("/no/such/*", std::nullopt), std::nullopt);
    EXPECT_EQ(KXFileManager::decodeWildcardPath(std::nullopt, folder_.path()), std::nullopt);
    EXPECT_THAT(KXFileManager::filesMatchingWildcardPath(std::nullopt), IsEmpty());
}

TEST_F(Wildcards, NamesAreCleanedForFiles) {
    EXPECT_EQ(KXFileManager::validateFilename(" My/File:1 "), "MyFile1");
    EXPECT_EQ(KXFileManager::validateFilename("."), "");
    EXPECT_EQ(KXFileManager::validateFilename(".."), ".");
    EXPECT_EQ(KXFileManager::validateFilename(" .x"), ".x");
    EXPECT_EQ(KXFileManager::validateFilename("/"), "");
    EXPECT_EQ(KXFileManager::validateFilename(std::nullopt), std::nullopt);
}

TEST_F(Wildcards, NamesAreMadeUnique) {
    folder_.writeFile("a.txt");
    folder_.writeFile("a 2.txt");
    folder_.makeFolder("Untitled");
    folder_.writeFile("archive.tar.gz");
    folder_.writeFile("Report 2.txt");
    EXPECT_EQ(KXFileManager::uniqueFilename(folder_ / "a.txt"), folder_ / "a 3.txt");
    EXPECT_EQ(KXFileManager::uniqueFilename(folder_ / "Untitled"), folder_ / "Untitled 2");
    EXPECT_EQ(KXFileManager::uniqueFilename(folder_ / "archive.tar.gz"),
              folder_ / "archive.tar 2.gz");
    EXPECT_EQ(KXFileManager::uniqueFilename(folder_ / "Report 2.txt"), folder_ / "Report 2 2.txt");
    EXPECT_EQ(KXFileManager::uniqueFilename(folder_ / "free"), folder_ / "free");
    EXPECT_EQ(KXFileManager::uniqueFilename(std::nullopt), std::nullopt);
}

TEST_F(Wildcards, CleaningANameChangesNothingElseAndTrimsFirst) {
    EXPECT_EQ(KXFileManager::validateFilename("/ a :"), " a ");
    EXPECT_EQ(KXFileManager::validateFilename("/.a"), ".a");
    EXPECT_EQ(KXFileManager::validateFilename(":.a"), ".a");
    const std::string odd = "a\\b*?\"<>|\u0001";
    EXPECT_EQ(KXFileManager::validateFilename(odd), odd);
    const std::string endless(10'000, 'n');
    EXPECT_EQ(KXFileManager::validateFilename(endless), endless);
}

TEST_F(Wildcards, TheNameOfADanglingLinkIsFree) {
    const std::string dangling = folder_.makeLink("dangling", "nowhere");
    EXPECT_EQ(KXFileManager::uniqueFilename(dangling), dangling);
}

TEST_F(Wildcards, NumbersForNamesHaveNoBound) {
    class Crowded : public test::FilesManager {
      public:
        int left = 100'000;  // /a.txt and the numbers 2 to 100,000
        bool fileExists(const std::string&) override { return left-- > 0; }
    };
    Crowded manager;
    platform_->fileManager = &manager;
    EXPECT_EQ(KXFileManager::uniqueFilename("/a.txt"), "/a 100001.txt");
}

// The matches of one folder precede those of the next, and duplicates are kept.
TEST_F(Wildcards, KeepTheOrderOfCandidatesAndDuplicates) {
    class Tree : public test::ForwardingFileTree {
      public:
        StringList asked;
        StringList match(const StringList& folders, const std::string& pattern) override {
            asked = folders;
            if (pattern == "*") return {"/z", "/a", "/z"};
            return ForwardingFileTree::match(folders, pattern);
        }
    };
    class Everything : public test::FilesManager {
        bool fileExists(const std::string&) override { return true; }
    };
    Tree tree;
    Everything manager;
    platform_->fileTree = &tree;
    platform_->fileManager = &manager;
    EXPECT_THAT(KXFileManager::filesMatchingWildcardPath("/*"), ElementsAre("/z", "/a", "/z"));
    EXPECT_THAT(KXFileManager::filesMatchingWildcardPath("/*/b"),
                ElementsAre("/z/b", "/a/b", "/z/b"));
    KXFileManager::filesMatchingWildcardPath("/*/b/x*");
    EXPECT_THAT(tree.asked, ElementsAre("/z/b", "/a/b", "/z/b"));
}

TEST_F(Wildcards, ExpandOneFolderAfterTheOther) {
    for (const char* name : {"z/one", "z/two", "a/one", "a/two"}) folder_.writeFile(name);
    const StringList found =
        platform::current().fileTree->match({folder_ / "z", folder_ / "a"}, "*");
    ASSERT_EQ(found.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_TRUE(found[i].starts_with(folder_ / (i < 2 ? "z/" : "a/"))) << found[i];
}

}  // namespace
}  // namespace quillmoor
