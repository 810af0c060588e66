#include "quillmoor/platform/linux/bundles/bundle_linux.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "quillmoor/platform/platform.h"
#include "tests/platform/linux/support/print_bundle.h"
#include "tests/platform/support/scoped_environment.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_ {
namespace {

using test::canonicalPath;
using test::ScopedEnvironment;
using test::TempFolder;

TEST(BundleFolder, IsFoundAboveItsProgram) {
    EXPECT_EQ(bundleFolderOf("/x/A b.app/Contents/Linux/a"), "/x/A b.app");
    EXPECT_EQ(bundleFolderOf("/A.bundle/Contents/MacOS/a"), "/A.bundle");
    EXPECT_EQ(bundleFolderOf("/x/A.anything/Contents/Linux/a.so"), "/x/A.anything");
}

TEST(BundleFolder, NeedsTheWholeShape) {
    for (const char* path :
         {"/x/A/Contents/Linux/a", "/x/A.app/Contents/Other/a", "/x/A.app/Linux/a",
          "/x/A.app/Contents/Linux/deep/a", "/usr/bin/a", "a", "", "/"})
        EXPECT_EQ(bundleFolderOf(path), std::nullopt) << path;
}

class BundleResources : public testing::Test {
  protected:
    std::shared_ptr<Bundle> bundle() { return bundleOf(folder_ / "A.bundle/Contents/Linux/a.so"); }
    std::string makeResource(const std::string& name) {
        return folder_.writeFile("A.bundle/Contents/Resources/" + name);
    }

    ScopedEnvironment language_{"LANGUAGE", nullptr};
    ScopedEnvironment all_{"LC_ALL", nullptr};
    ScopedEnvironment messages_{"LC_MESSAGES", nullptr};
    ScopedEnvironment lang_{"LANG", "de_DE.UTF-8"};
    TempFolder folder_;
};

TEST_F(BundleResources, OutsideEveryLanguageComeFirst) {
    makeResource("de.lproj/Hello there.zip");
    const std::string plain = makeResource("Hello there.zip");
    EXPECT_EQ(bundle()->pathForResource("Hello there", "zip"), plain);
    EXPECT_EQ(bundle()->pathForResource("Hello there.zip", ""), plain);
    EXPECT_EQ(bundle()->pathForResource("Hello", "zip"), std::nullopt);
}

TEST_F(BundleResources, ComeInTheUsersLanguageThenInEnglishThenFromTheBase) {
    const std::string base = makeResource("Base.lproj/a.txt");
    EXPECT_EQ(bundle()->pathForResource("a", "txt"), base);
    const std::string english = makeResource("en.lproj/a.txt");
    EXPECT_EQ(bundle()->pathForResource("a", "txt"), english);
    const std::string german = makeResource("de.lproj/a.txt");
    EXPECT_EQ(bundle()->pathForResource("a", "txt"), german);
    const std::string regional = makeResource("de_DE.lproj/a.txt");
    EXPECT_EQ(bundle()->pathForResource("a", "txt"), regional);
    makeResource("fr.lproj/a.txt");
    EXPECT_EQ(bundle()->pathForResource("a", "txt"), regional);
}

TEST_F(BundleResources, MayBeInAFolderButNotOutsideTheBundle) {
    const std::string inside = makeResource("deep/a.txt");
    EXPECT_EQ(bundle()->pathForResource("deep/a", "txt"), inside);
    folder_.writeFile("A.bundle/Contents/secret.txt");
    for (const char* name : {"../secret", "deep/../../secret", "..", ""})
        EXPECT_EQ(bundle()->pathForResource(name, "txt"), std::nullopt) << name;
    EXPECT_EQ(bundle()->pathForResource("secret", "txt/../../secret.txt"), std::nullopt);
    EXPECT_EQ(bundle()->pathForResource("a\0b", "txt"), std::nullopt);
    EXPECT_EQ(bundle()->pathForResource(std::string("deep/a.txt\0", 11), ""), std::nullopt);
}

TEST_F(BundleResources, AreLookedUpAgainAtEveryCall) {
    EXPECT_EQ(bundle()->infoDictionaryText("CFBundleVersion"), std::nullopt);
    const std::string info =
        folder_.writeFile("A.bundle/Contents/Info.plist",
                          "<plist><dict><key>CFBundleVersion</key><string>1.2</string><key>n</key>"
                          "<integer>7</integer><key>l</key><array/></dict></plist>");
    EXPECT_EQ(bundle()->infoDictionaryText("CFBundleVersion"), "1.2");
    EXPECT_EQ(bundle()->infoDictionaryText("n"), "7");
    EXPECT_EQ(bundle()->infoDictionaryText("l"), std::nullopt);
    EXPECT_EQ(bundle()->infoDictionaryText("missing"), std::nullopt);
    EXPECT_EQ(bundle()->executablePath(), folder_ / "A.bundle/Contents/Linux/a.so");
}

TEST(PlainProgram, HasOnlyAnExecutable) {
    const auto bundle = bundleOf(OptionalPath("/usr/bin/env"));
    EXPECT_EQ(bundle->executablePath(), "/usr/bin/env");
    EXPECT_EQ(bundle->infoDictionaryText("CFBundleVersion"), std::nullopt);
    EXPECT_EQ(bundle->pathForResource("a", "txt"), std::nullopt);
    EXPECT_EQ(bundleOf(std::nullopt)->executablePath(), std::nullopt);
}

StringList languages(const char* language, const char* all, const char* messages,
                     const char* lang) {
    const ScopedEnvironment a("LANGUAGE", language);
    const ScopedEnvironment b("LC_ALL", all);
    const ScopedEnvironment c("LC_MESSAGES", messages);
    const ScopedEnvironment d("LANG", lang);
    return languagesOfResources();
}

TEST(LanguagesOfResources, FollowTheOrderOfTheEnvironment) {
    using testing::ElementsAre;
    EXPECT_THAT(languages(nullptr, nullptr, nullptr, nullptr), ElementsAre("en", "Base"));
    EXPECT_THAT(languages(nullptr, "", "", "C.UTF-8"), ElementsAre("en", "Base"));
    EXPECT_THAT(languages(nullptr, nullptr, nullptr, "de_AT.UTF-8@euro"),
                ElementsAre("de_AT", "de-AT", "de", "en", "Base"));
    EXPECT_THAT(languages(nullptr, nullptr, "fr", "de"), ElementsAre("fr", "en", "Base"));
    EXPECT_THAT(languages(nullptr, "it", "fr", "de"), ElementsAre("it", "en", "Base"));
    EXPECT_THAT(languages("pl:en_GB::", nullptr, nullptr, "de"),
                ElementsAre("pl", "en_GB", "en-GB", "en", "de", "Base"));
}

TEST(LanguagesOfResources, AWishWithoutALocaleDoesNotCount) {
    EXPECT_THAT(languages("pl", nullptr, nullptr, "C"), testing::ElementsAre("en", "Base"));
}

TEST(LanguagesOfResources, NoNameLeadsToAnotherFolder) {
    EXPECT_THAT(languages("../x:/y", nullptr, nullptr, "a/b"), testing::ElementsAre("en", "Base"));
}

// The first two lines that a copy of print_bundle prints: its path and its version.
StringList printedBy(const std::string& program, const std::string& argument = "stay") {
    StringList lines = test::printedByCopy(program, argument);
    lines.resize(2);
    return lines;
}

TEST(MainBundle, OfAPlainProgramIsTheProgramAlone) {
    const TempFolder folder;
    EXPECT_EQ(printedBy(folder / "bin/a program"),
              (StringList{canonicalPath(folder.path()) + "/bin/a program", "(none)"}));
}

TEST(MainBundle, OfAnApplicationHasItsInformation) {
    const TempFolder folder;
    folder.writeFile("A.app/Contents/Info.plist",
                     "<plist><dict><key>CFBundleVersion</key><string>3</string></dict></plist>");
    EXPECT_EQ(printedBy(folder / "A.app/Contents/Linux/a"),
              (StringList{canonicalPath(folder.path()) + "/A.app/Contents/Linux/a", "3"}));
}

TEST(MainBundle, OfAProgramThatWasRemovedKeepsItsPath) {
    const TempFolder folder;
    EXPECT_EQ(printedBy(folder / "gone", "remove"),
              (StringList{canonicalPath(folder.path()) + "/gone", "(none)"}));
    EXPECT_EQ(printedBy(folder / "here (deleted)"),
              (StringList{canonicalPath(folder.path()) + "/here (deleted)", "(none)"}));
}

class BundleForCode : public testing::Test {
  protected:
    // Loads a copy of the plug-in and returns the bundle of its code.
    std::shared_ptr<Bundle> load(const std::string& name) {
        const std::string path = folder_ / name;
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::filesystem::copy_file(KX_PROBE_PLUGIN, path);
        void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) return nullptr;
        return native().bundles->bundleForCode(::dlsym(library, "probe"));
    }

    TempFolder folder_;
};

TEST_F(BundleForCode, OfAPlugInIsThePlugInsOwn) {
    folder_.writeFile("A b.bundle/Contents/Info.plist",
                      "<plist><dict><key>CFBundleVersion</key><string>9</string></dict></plist>");
    const std::string resource = folder_.writeFile("A b.bundle/Contents/Resources/U n.zip");
    const auto bundle = load("A b.bundle/Contents/Linux/a.so");
    ASSERT_NE(bundle, nullptr);
    EXPECT_EQ(bundle->executablePath(), canonicalPath(folder_ / "A b.bundle/Contents/Linux/a.so"));
    EXPECT_EQ(bundle->infoDictionaryText("CFBundleVersion"), "9");
    EXPECT_EQ(bundle->pathForResource("U n", "zip"), canonicalPath(resource));
}

TEST_F(BundleForCode, OfALibraryOutsideABundleIsTheLibraryAlone) {
    const auto bundle = load("lib/liba.so");
    ASSERT_NE(bundle, nullptr);
    EXPECT_EQ(bundle->executablePath(), canonicalPath(folder_ / "lib/liba.so"));
    EXPECT_EQ(bundle->infoDictionaryText("CFBundleVersion"), std::nullopt);
}

TEST_F(BundleForCode, OfTheProgramItselfIsTheMainBundle) {
    const auto bundle =
        native().bundles->bundleForCode(reinterpret_cast<const void*>(&bundleFolderOf));
    ASSERT_NE(bundle, nullptr);
    EXPECT_EQ(bundle->executablePath(), native().bundles->mainBundle()->executablePath());
}

TEST_F(BundleForCode, IsNullForCodeWithoutAFile) {
    const auto onHeap = std::make_unique<int>(0);
    EXPECT_EQ(native().bundles->bundleForCode(onHeap.get()), nullptr);
    EXPECT_EQ(native().bundles->bundleForCode(nullptr), nullptr);
}

}  // namespace
}  // namespace quillmoor::platform::linux_
