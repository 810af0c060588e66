// The main function of every test program. Before the first test runs, the home, the temporary
// folder and the XDG folders are set to a folder of this process; nothing outside of it may be
// changed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/temp_folder.h"
#include "tests/support/write_guard.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const quillmoor::test::TempFolder home;
    quillmoor::test::installWriteGuard();
    const quillmoor::test::AllowWritesBelow allowed(home.path());
    ::setenv("HOME", home.makeFolder("home").c_str(), 1);
    ::setenv("TMPDIR", home.makeFolder("tmp").c_str(), 1);
    const std::string runtime = home.makeFolder("run");
    std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
    ::setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    for (const char* name : {"XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME",
                             "XDG_DATA_DIRS", "XDG_CONFIG_DIRS"})
        ::unsetenv(name);
    return RUN_ALL_TESTS();
}
