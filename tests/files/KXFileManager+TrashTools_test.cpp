// The Trash as other programs' tools see it.
#include <stdlib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "tests/files/files_fixture.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

class TrashTools : public test::FilesTest {
  protected:
    // Runs a tool with the test's own Trash.
    bool succeeds(const std::string& command) const {
        const std::string all = "unset XDG_DATA_HOME DISPLAY; export HOME='" + locations_.home +
                                "' GVFS_DISABLE_FUSE=1 GIO_USE_VOLUME_MONITOR=unix\n{ " + command +
                                "\n} >'" + (folder_ / "output") + "' 2>&1";
        return ::system(all.c_str()) == 0;
    }
    std::string output() const { return test::readFile(folder_ / "output"); }

    // Creates items of these names in a folder, each with its name as contents.
    void writeAll(const std::string& folder) const {
        for (const std::string& name : names_) {
            std::ofstream(folder + "/" + name, std::ios::binary) << name;
            ASSERT_EQ(test::readFile(folder + "/" + name), name);
        }
    }
    void putAway(const std::string& folder) const {
        writeAll(folder);
        for (const std::string& name : names_) {
            const std::string path = folder + "/" + name;
            ASSERT_TRUE(KXFileManager::trashFile(path, ShouldAuth::No)) << name;
            ASSERT_FALSE(test::somethingAt(path)) << name;
        }
        ASSERT_EQ(items().size(), names_.size());
    }
    void expectTrashIsEmpty() const {
        EXPECT_THAT(items(), IsEmpty());
        EXPECT_THAT(records(), IsEmpty());
    }

    StringList items() const {
        return *platform::native().fileManager->contentsOfDirectory(trash() + "/");
    }
    StringList records() const {
        return *platform::native().fileManager->contentsOfDirectory(trash() + "/../info");
    }

    void useTrashCli() {
        if (!succeeds("command -v trash-list && command -v trash-restore"))
            GTEST_SKIP() << "trash-cli is not installed";
    }
    void expectTrashCliRestores(const std::string& folder) const {
        putAway(folder);
        ASSERT_TRUE(succeeds("trash-list")) << output();
        for (const std::string& name : names_)
            EXPECT_THAT(output(), HasSubstr(" " + folder + "/" + name + "\n"));
        for (std::size_t i = 0; i < names_.size(); ++i)
            ASSERT_TRUE(succeeds("cd '" + folder + "' && echo 0 | trash-restore")) << output();
        for (const std::string& name : names_)
            EXPECT_EQ(test::readFile(folder + "/" + name), name) << output();
        expectTrashIsEmpty();
    }

    // Needs the desktop's own Trash service, which is run in its own session.
    void useGio() {
        if (!succeeds("command -v gio && command -v dbus-run-session") ||
            !test::somethingAt("/usr/share/dbus-1/services/org.gtk.vfs.Daemon.service") ||
            !test::somethingAt("/usr/share/gvfs/mounts/trash.mount"))
            GTEST_SKIP() << "of libglib2.0-bin, dbus, gvfs and gvfs-daemons not all are installed";
    }
    bool inSession(const std::string& command) const {
        return succeeds("dbus-run-session -- sh -c '" + command + "'");
    }
    // The addresses of what was listed for a folder, each with a blank before it. There may be
    // other Trashes on the machine.
    std::string listedAddresses(const std::string& folder) const {
        std::istringstream lines(output());
        std::string addresses;
        for (std::string line; std::getline(lines, line);) {
            const std::size_t tab = line.find('\t');
            if (line.starts_with("trash:") && line.find("\t" + folder + "/") == tab)
                addresses += " \"" + line.substr(0, tab) + "\"";
        }
        return addresses;
    }
    void expectGioRestores(const std::string& folder) const {
        putAway(folder);
        ASSERT_TRUE(inSession("gio trash --list")) << output();
        for (const std::string& name : names_)
            EXPECT_THAT(output(), HasSubstr("\t" + folder + "/" + inGiosSpelling(name) + "\n"));
        const std::string addresses = listedAddresses(folder);
        ASSERT_EQ(std::count(addresses.begin(), addresses.end(), ' '),
                  static_cast<std::ptrdiff_t>(names_.size()));
        ASSERT_TRUE(inSession("for each in" + addresses +
                              "; do gio trash --restore \"$each\" || exit; done"))
            << output();
        for (const std::string& name : names_)
            EXPECT_TRUE(test::readFile(folder + "/" + name) == name ||
                        test::readFile(folder + "/" + inGiosSpelling(name)) == name)
                << name << ": " << output();
        expectTrashIsEmpty();
    }
    // That command of GLib 2.74 lists and restores a name with other bytes than printable ASCII in
    // this spelling, its own items too.
    static std::string inGiosSpelling(const std::string& name) {
        std::string spelled;
        for (const char byte : name) {
            std::array<char, 8> text{byte};
            if (byte < ' ' || byte > '~' || byte == '\\')
                std::snprintf(text.data(), text.size(), "\\x%02x",
                              static_cast<unsigned char>(byte));
            spelled += text.data();
        }
        return spelled;
    }
    // The original paths in the records, sorted.
    StringList recordedPlaces() const {
        StringList places;
        for (const std::string& record : records()) {
            const std::string text = test::readFile(trash() + "/../info/" + record);
            const std::size_t place = text.find("\nPath=") + 1;
            places.push_back(text.substr(place, text.find('\n', place) - place));
        }
        std::sort(places.begin(), places.end());
        return places;
    }

    const StringList names_{"report.txt", "two words",   "line\nbreak",   "caf\u00e9",
                            "cafe\u0301", "100%",        "a%20b",         "-rf",
                            "\"quoted\"", "back\\slash", "plus+and&more", "#?;*[x]"};
    const std::string desk_ = std::filesystem::canonical(folder_.makeFolder("a desk")).string();
};

TEST_F(TrashTools, TrashCliListsAndRestoresAnyName) {
    ASSERT_NO_FATAL_FAILURE(useTrashCli());
    if (!IsSkipped()) expectTrashCliRestores(desk_);
}

TEST_F(TrashTools, TrashCliRestoresToAnotherFileSystem) {
    ASSERT_NO_FATAL_FAILURE(useTrashCli());
    if (IsSkipped()) return;
    const test::OtherFileSystem other(folder_);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    expectTrashCliRestores(other.path());
}

TEST_F(TrashTools, ARecordEqualsThatOfGio) {
    if (!succeeds("command -v gio")) GTEST_SKIP() << "libglib2.0-bin is not installed";
    putAway(desk_);
    const StringList ours = recordedPlaces();
    std::filesystem::remove_all(locations_.home + "/.local");
    writeAll(desk_);
    ASSERT_TRUE(succeeds("cd '" + desk_ + "' && gio trash ./*")) << output();
    EXPECT_EQ(recordedPlaces(), ours);
    EXPECT_EQ(ours.size(), names_.size());
}

TEST_F(TrashTools, GioListsAndRestoresAnyName) {
    ASSERT_NO_FATAL_FAILURE(useGio());
    if (!IsSkipped()) expectGioRestores(desk_);
}

TEST_F(TrashTools, GioRestoresToAnotherFileSystem) {
    ASSERT_NO_FATAL_FAILURE(useGio());
    if (IsSkipped()) return;
    const test::OtherFileSystem other(folder_);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    expectGioRestores(other.path());
}

TEST_F(TrashTools, GioRestoresAFolderWithItsContents) {
    ASSERT_NO_FATAL_FAILURE(useGio());
    if (IsSkipped()) return;
    test::makeNastyTree(folder_, "a desk/tree");
    const std::string before = test::describeTree(desk_ + "/tree");
    ASSERT_TRUE(KXFileManager::trashFile(desk_ + "/tree", ShouldAuth::No));
    ASSERT_TRUE(inSession("gio trash --restore trash:///tree")) << output();
    EXPECT_EQ(test::describeTree(desk_ + "/tree"), before);
    EXPECT_THAT(records(), IsEmpty());
}

}  // namespace
}  // namespace quillmoor
