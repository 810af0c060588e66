#include "host/plugin/bundle_info.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "host/ground/host_error.h"
#include "tests/host/support/bundle_maker.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::host {
namespace {

std::string errorOf(const std::string& path) {
    try {
        readBundleInfo(path);
    } catch (const HostError& error) {
        return error.what();
    }
    return "";
}

TEST(BundleInfo, ReadsTheDictionary) {
    const test::TempFolder folder;
    test::BundleParts parts;
    parts.info.insert({{"CFBundleName", "A Recorder"},
                       {"CFBundleVersion", "1.2"},
                       {"InstallerSectionTitle", "Recording"},
                       {"InstallerProductName", "Tape"}});
    const auto info = readBundleInfo(makeBundle(folder, "X.bundle", parts));
    EXPECT_EQ(info.path, folder / "X.bundle");
    EXPECT_EQ(info.identifier, "com.example.recorder");
    EXPECT_EQ(info.name, "A Recorder");
    EXPECT_EQ(info.version, "1.2");
    EXPECT_EQ(info.sectionTitle, "Recording");
    EXPECT_EQ(info.productName, "Tape");
    EXPECT_EQ(info.libraryInBundle(), "Contents/Linux/Recorder.so");
}

TEST(BundleInfo, TakesTheFoldersNameWhereNoneIsGiven) {
    const test::TempFolder folder;
    const auto info =
        readBundleInfo(makeBundle(folder, "My Recorder.bundle", test::BundleParts{}) + "/");
    EXPECT_EQ(info.name, "My Recorder");
    EXPECT_EQ(info.sectionTitle, "My Recorder");
}

TEST(BundleInfo, ARelativePathBecomesAbsolute) {
    const test::TempFolder folder;
    makeBundle(folder, "X.bundle", test::BundleParts{});
    std::filesystem::current_path(folder.path());
    EXPECT_EQ(readBundleInfo("X.bundle").path,
              std::filesystem::current_path().string() + "/X.bundle");
    std::filesystem::current_path("/");
}

TEST(BundleInfo, AMissingBundleIsReported) {
    const test::TempFolder folder;
    EXPECT_EQ(errorOf(folder / "X.bundle"), "there is no such bundle");
}

TEST(BundleInfo, AFileIsNotABundle) {
    const test::TempFolder folder;
    EXPECT_EQ(errorOf(folder.writeFile("X.bundle")), "it is not a folder");
}

TEST(BundleInfo, AFolderWithoutADictionaryIsReported) {
    const test::TempFolder folder;
    EXPECT_EQ(errorOf(folder.makeFolder("X.bundle")), "it has no Contents/Info.plist");
    folder.makeFolder("X.bundle/Contents/Info.plist");
    EXPECT_EQ(errorOf(folder / "X.bundle"), "Contents/Info.plist is not a regular file");
}

TEST(BundleInfo, ADictionaryThatCannotBeReadIsReported) {
    const test::TempFolder folder;
    for (const char* contents : {"", "hello", "<plist><array/></plist>"}) {
        folder.writeFile("X.bundle/Contents/Info.plist", contents);
        EXPECT_EQ(errorOf(folder / "X.bundle"),
                  "Contents/Info.plist is not a property list that holds a dictionary");
    }
}

TEST(BundleInfo, EveryMissingKeyIsNamed) {
    for (const char* key : {"CFBundleIdentifier", "CFBundleExecutable", "NSMainNibFile"}) {
        const test::TempFolder folder;
        test::BundleParts parts;
        parts.info.erase(key);
        EXPECT_EQ(errorOf(makeBundle(folder, "X.bundle", parts)),
                  "Contents/Info.plist has no text for the key “" + std::string(key) + "”");
    }
}

TEST(BundleInfo, NamesMayNotLeadOutOfTheBundle) {
    for (const char* key : {"CFBundleExecutable", "NSMainNibFile"}) {
        const test::TempFolder folder;
        test::BundleParts parts;
        parts.info[key] = "../../x";
        EXPECT_EQ(errorOf(makeBundle(folder, "X.bundle", parts)),
                  "Contents/Info.plist: “" + std::string(key) +
                      "” must be a plain file name, not “../../x”");
    }
}

}  // namespace
}  // namespace quillmoor::host
