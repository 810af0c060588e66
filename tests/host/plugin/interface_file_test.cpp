#include "host/plugin/interface_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <filesystem>

#include "host/plugin/host_services.h"
#include "tests/host/support/bundle_fixture.h"

namespace quillmoor::host {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class InterfaceFile : public BundleFixture {};

TEST_F(InterfaceFile, TheFileOfTheMostWantedLanguageIsTaken) {
    const BundleInfo info = readBundleInfo(makeBundle(folder_, "X.bundle", whole()));
    const std::string resources = "X.bundle/Contents/Resources/";
    for (const char* language : {"de", "de-AT", "pt-BR"})
        folder_.writeFile(resources + language + ".lproj/Recorder.ui", "");
    const auto found = [&info](const QStringList& languages) {
        return findInterfaceFile(info, languages);
    };
    EXPECT_EQ(found({}), "Contents/Resources/Recorder.ui");
    EXPECT_EQ(found({"fr", "pt"}), "Contents/Resources/Recorder.ui");
    EXPECT_EQ(found({"de-CH", "de-AT"}), "Contents/Resources/de.lproj/Recorder.ui");
    EXPECT_EQ(found({"fr", "de-AT", "pt-BR"}), "Contents/Resources/de-AT.lproj/Recorder.ui");
}

TEST_F(InterfaceFile, GivesAHiddenWidgetAndThePanesClass) {
    const BundleInfo info = readBundleInfo(makeBundle(folder_, "X.bundle", whole()));
    const Interface interface = loadInterface(info, findInterfaceFile(info, {}));
    EXPECT_EQ(interface.paneClass, "Shows");
    EXPECT_EQ(interface.widget->parentWidget(), nullptr);
    EXPECT_FALSE(interface.widget->isVisible());
}

// Otherwise the system's Designer plug-ins would run their code in the host.
TEST_F(InterfaceFile, ThePathsOfTheToolkitsPlugInsAreTheSameAfterwards) {
    const QStringList before = QCoreApplication::libraryPaths();
    ASSERT_FALSE(before.isEmpty());
    const BundleInfo info = readBundleInfo(makeBundle(folder_, "X.bundle", whole()));
    loadInterface(info, findInterfaceFile(info, {}));
    EXPECT_EQ(QCoreApplication::libraryPaths(), before);
}

TEST_F(InterfaceFile, AMissingInterfaceFileIsNamed) {
    auto parts = whole();
    parts.interfaceFile.clear();
    EXPECT_EQ(errorOf(parts), "it has no interface file “Contents/Resources/Recorder.ui”");
}

TEST_F(InterfaceFile, AnInterfaceFileThatDoesNotParseNamesTheLine) {
    auto parts = whole();
    parts.interfaceFile = "<ui version=\"4.0\">\n<widget class=\"QWidget\">\n</ui>\n";
    EXPECT_THAT(errorOf(parts),
                ::testing::AllOf(StartsWith("Contents/Resources/Recorder.ui cannot be read: "),
                                 HasSubstr("line 3")));
}

std::string nested(int depth) {
    std::string file = "<ui version=\"4.0\">";
    for (int i = 1; i < depth; ++i) file += "\n<widget class=\"QWidget\" name=\"w\">";
    for (int i = 1; i < depth; ++i) file += "</widget>";
    return file + "</ui>";
}

TEST_F(InterfaceFile, AnInterfaceFileIsReadToADepthOf200) {
    auto parts = whole();
    parts.interfaceFile = nested(200);
    EXPECT_THAT(errorOf(parts), HasSubstr("names no pane class"));
    std::filesystem::remove_all(folder_ / "X.bundle");
    parts.interfaceFile = nested(201);
    EXPECT_EQ(errorOf(parts),
              "Contents/Resources/Recorder.ui cannot be read: line 201: more than 200 elements are "
              "nested");
}

// The toolkit would overflow the stack.
TEST_F(InterfaceFile, AnInterfaceFileThatIsNestedTooDeepIsRefusedBeforeTheToolkitReadsIt) {
    auto parts = whole();
    parts.interfaceFile = nested(30000);
    EXPECT_THAT(errorOf(parts), HasSubstr("more than 200 elements are nested"));
}

TEST_F(InterfaceFile, AnInterfaceFileThatIsNotAFileIsReported) {
    auto parts = whole();
    parts.interfaceFile.clear();
    folder_.makeFolder("X.bundle/Contents/Resources/Recorder.ui");
    EXPECT_EQ(errorOf(parts), "Contents/Resources/Recorder.ui cannot be read: not a regular file");
}

TEST_F(InterfaceFile, AnInterfaceFileMustNameThePanesClass) {
    auto parts = whole();
    parts.interfaceFile = R"(<ui version="4.0"><widget class="QWidget" name="x"/></ui>)";
    EXPECT_EQ(errorOf(parts),
              "Contents/Resources/Recorder.ui names no pane class: its topmost widget needs a "
              "property “paneClass”");
}

}  // namespace
}  // namespace quillmoor::host
