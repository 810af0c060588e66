#include "tools/ditto/packed_links.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/temp_folder.h"

namespace quillmoor::ditto {
namespace {

// Why these links are refused. They are in one folder beside a folder with a file.
std::string objection(const std::vector<std::string>& targets, const std::string& prefix = "") {
    const test::TempFolder folder;
    folder.writeFile("source/folder/file");
    for (std::size_t i = 0; i < targets.size(); ++i)
        folder.makeLink("source/link" + std::to_string(i), targets[i]);
    return linkObjection(SourceTree(folder / "source", {}), prefix, targets);
}

TEST(DittoPackedLinks, InsideTheArchiveAreAccepted) {
    EXPECT_EQ(objection({}), "");
    EXPECT_EQ(objection({"folder/file", "folder", "missing", "link0", "folder/../link0"}), "");
}

TEST(DittoPackedLinks, TheFirstThatIsRefusedIsNamed) {
    EXPECT_EQ(objection({"folder", "/etc", "/"}), "“link1” is a link to an absolute path");
}

TEST(DittoPackedLinks, LeadOutByTheArchivesTop) {
    EXPECT_NE(objection({"../source/folder"}), "");
    EXPECT_EQ(objection({"../source/folder"}, "source/"), "");
    EXPECT_NE(objection({"../../source/folder"}, "source/"), "");
}

TEST(DittoPackedLinks, AreNamedWithTheirPrefix) {
    EXPECT_EQ(objection({"/etc"}, "source/"), "“source/link0” is a link to an absolute path");
}

}  // namespace
}  // namespace quillmoor::ditto
