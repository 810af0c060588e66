#include "quillmoor/task/launch_check.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "tests/support/temp_folder.h"

namespace quillmoor::task_detail {
namespace {

class LaunchCheck : public testing::Test {
  protected:
    std::string makeTool(const std::string& name, mode_t mode) const {
        std::string path = folder_.writeFile(name, "#!/bin/sh\n");
        ::chmod(path.c_str(), mode);
        return path;
    }
    static void expect(bool launchable, const OptionalPath& path) {
        EXPECT_EQ(isLaunchable(path), launchable) << path.value_or("nil");
        EXPECT_EQ(existsAndIsLaunchable(path), launchable) << path.value_or("nil");
    }
    test::TempFolder folder_;
};

TEST_F(LaunchCheck, AcceptsAnExecutableFile) {
    expect(true, makeTool("tool", 0755));
    expect(true, folder_.makeLink("link", makeTool("target", 0755)));
}

TEST_F(LaunchCheck, RefusesAFileThatIsNotExecutable) {
    expect(false, makeTool("tool", 0644));
}

TEST_F(LaunchCheck, RefusesAMissingFile) {
    expect(false, std::nullopt);
    expect(false, "");
    expect(false, folder_ / "missing");
    expect(false, folder_.makeLink("dangling", "nowhere"));
}

TEST_F(LaunchCheck, AcceptsAPlainFolderAndRefusesAPackage) {
    expect(true, folder_.makeFolder("folder"));
    expect(false, folder_.makeFolder("Tool.app"));
    expect(false, folder_.makeFolder("Tool.BUNDLE"));
}

}  // namespace
}  // namespace quillmoor::task_detail
