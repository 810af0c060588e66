#include "tools/ditto/item_writer.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/temp_folder.h"
#include "tools/ditto/failure.h"

namespace quillmoor::ditto {
namespace {

namespace fs = std::filesystem;

TEST(DittoItems, AFolderThatReplacedAnotherKeepsItsMode) {
    const test::TempFolder folder;
    const Descriptor root(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::string made = folder.makeFolder("d");
    fs::permissions(made, fs::perms::owner_all);
    const Identity identity = identityOf(openFolderBeneath(root.get(), "d").get());
    Entry entry;
    entry.mode = 0555;
    const PlannedItem item{"d", &entry};
    fs::rename(made, folder / "moved away");
    fs::permissions(folder.makeFolder("d"), fs::perms::owner_all);
    EXPECT_THROW(finishFolder(root.get(), item, 022, identity), Failure);
    EXPECT_EQ(fs::status(made).permissions(), fs::perms::owner_all);
    fs::remove(made);
    fs::rename(folder / "moved away", made);
    finishFolder(root.get(), item, 022, identity);
    EXPECT_EQ(static_cast<unsigned>(fs::status(made).permissions()), 0555U);
}

}  // namespace
}  // namespace quillmoor::ditto
