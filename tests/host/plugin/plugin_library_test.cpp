#include "host/plugin/plugin_library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "host/plugin/host_services.h"
#include "tests/host/support/bundle_fixture.h"

namespace quillmoor::host {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class PluginLibraries : public BundleFixture {};

TEST_F(PluginLibraries, OneIsAttachedTheFirstTimeThatItIsOpened) {
    const BundleInfo info = readBundleInfo(makeBundle(folder_, "X.bundle", whole()));
    const PluginLibrary first(info, HostServices::shared().table());
    const PluginLibrary second(info, HostServices::shared().table());
    EXPECT_THAT(record(), ::testing::ElementsAre("attached 1"));
}

TEST_F(PluginLibraries, AMissingPlugInIsNamed) {
    auto parts = whole();
    parts.program.clear();
    EXPECT_EQ(errorOf(parts), "it has no plug-in “Contents/Linux/Recorder.so”");
}

TEST_F(PluginLibraries, APlugInThatIsNotAFileIsReported) {
    auto parts = whole();
    parts.program.clear();
    folder_.makeFolder("X.bundle/Contents/Linux");
    ASSERT_EQ(::mkfifo((folder_ / "X.bundle/Contents/Linux/Recorder.so").c_str(), 0600), 0);
    EXPECT_EQ(errorOf(parts), "Contents/Linux/Recorder.so is not a regular file");
}

TEST_F(PluginLibraries, APlugInThatIsNotASharedObjectGivesTheSystemsText) {
    auto parts = whole();
    parts.program = folder_.writeFile("text", "not a program");
    EXPECT_THAT(errorOf(parts),
                StartsWith("Contents/Linux/Recorder.so cannot be opened: file too short"));
}

// Without the check, the loader would read beyond the file's end and end the process.
TEST_F(PluginLibraries, ATruncatedPlugInIsRefusedBeforeItIsLoaded) {
    auto parts = whole();
    parts.program = folder_ / "cut.so";
    for (const std::uintmax_t size : {500U, 5000U, 20000U}) {
        std::filesystem::remove(parts.program);
        std::filesystem::copy_file(RECORDING_PLUGIN, parts.program);
        std::filesystem::resize_file(parts.program, size);
        EXPECT_THAT(errorOf(parts), StartsWith("Contents/Linux/Recorder.so is truncated: a part "));
        std::filesystem::remove_all(folder_ / "X.bundle");
    }
    EXPECT_THAT(record(), ::testing::IsEmpty());
}

TEST_F(PluginLibraries, APlugInWithAnUndefinedSymbolGivesTheSystemsText) {
    auto parts = whole();
    parts.program = UNRESOLVED_PLUGIN;
    EXPECT_THAT(errorOf(parts), HasSubstr("undefined symbol: undefined_function"));
}

TEST_F(PluginLibraries, AMissingFunctionIsNamed) {
    auto parts = whole();
    parts.program = LACKING_PLUGIN;
    EXPECT_EQ(errorOf(parts),
              "Contents/Linux/Recorder.so exports no function “installer_plugin_create_pane”");
}

TEST_F(PluginLibraries, APlugInThatRefusesTheHostIsReported) {
    ::setenv("INSTALLER_TEST_REFUSE", "1", 1);
    EXPECT_EQ(errorOf(whole()),
              "Contents/Linux/Recorder.so cannot work with this host: it refused version 1 of the "
              "plug-in interface");
}

TEST_F(PluginLibraries, OneThatRefusedTheHostIsNotAttachedAgain) {
    const std::string bundle = makeBundle(folder_, "X.bundle", whole());
    ::setenv("INSTALLER_TEST_REFUSE", "1", 1);
    EXPECT_THROW(load(bundle), HostError);
    ::unsetenv("INSTALLER_TEST_REFUSE");
    try {
        load(bundle);
        FAIL() << "loaded";
    } catch (const HostError& error) {
        EXPECT_THAT(error.what(), HasSubstr("it refused version 1 of the plug-in interface"));
    }
    EXPECT_THAT(record(), ::testing::ElementsAre("attached 1"));
}

TEST_F(PluginLibraries, AnUnknownPaneClassIsNamed) {
    auto parts = whole();
    parts.interfaceFile = test::interfaceFor("Unknown");
    EXPECT_EQ(errorOf(parts), "Contents/Linux/Recorder.so has no pane class “Unknown”");
}

TEST_F(PluginLibraries, AnIncompletePaneNamesTheMissingFunction) {
    auto parts = whole();
    parts.interfaceFile = test::interfaceFor("Incomplete");
    EXPECT_EQ(errorOf(parts), "its pane class “Incomplete” lacks the function “did_enter_pane”");
}

}  // namespace
}  // namespace quillmoor::host
