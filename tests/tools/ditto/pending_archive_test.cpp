#include "tools/ditto/pending_archive.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/temp_folder.h"
#include "tools/ditto/failure.h"

namespace quillmoor::ditto {
namespace {

namespace fs = std::filesystem;

TEST(DittoPendingArchive, IsNotPutInPlaceIfAnotherFileReplacedIt) {
    const test::TempFolder folder;
    folder.writeFile("a.zip", "old");
    std::string temporary;
    {
        PendingArchive pending(folder / "a.zip", 022);
        pending.create();
        for (const auto& item : fs::directory_iterator(folder.path()))
            if (item.path().filename() != "a.zip") temporary = item.path();
        fs::rename(temporary, folder / "moved away");
        folder.makeLink(fs::path(temporary).filename().string(), "/etc/passwd");
        EXPECT_THROW(pending.putInPlace(), Failure);
    }
    EXPECT_EQ(test::readFile(folder / "a.zip"), "old");
    EXPECT_TRUE(fs::is_symlink(temporary));
}

}  // namespace
}  // namespace quillmoor::ditto
