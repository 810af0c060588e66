// Creates archives, unpacks them and examines the result.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/temp_folder.h"
#include "tests/tools/ditto/run_ditto.h"
#include "tests/tools/ditto/zip_builder.h"

namespace quillmoor::ditto {

namespace fs = std::filesystem;
using test::buildZip;
using test::DittoResult;
using test::readFile;
using test::runDitto;
using test::somethingAt;
using test::zipFile;
using test::zipFolder;
using test::ZipItem;
using test::zipLink;

inline constexpr std::uint32_t kDate = 1000000000;

// Archives and unpacked items are in different folders, so that leftover files are noticed.
class DittoUnpack : public ::testing::Test {
  protected:
    std::string archive(const std::string& bytes, const char* name = "in/a.zip") {
        return folder_.writeFile(name, bytes);
    }

    DittoResult unpack(const std::string& bytes, const std::function<void()>& prepare = {}) {
        return runDitto({"-xk", archive(bytes), work_ + "/dest"}, prepare);
    }

    std::size_t itemsLeft() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(work_), fs::directory_iterator()));
    }

    // The tool reports `why` and leaves nothing.
    void expectRefusal(const std::string& bytes, const std::string& why) {
        const DittoResult result = unpack(bytes);
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.errors.find(why), std::string::npos) << result.errors;
        EXPECT_TRUE(result.errors.starts_with("ditto: ")) << result.errors;
        EXPECT_EQ(itemsLeft(), 0U);
        EXPECT_FALSE(somethingAt(folder_ / "escaped"));
    }

    // So many that their names do not fit into a pipe.
    static std::vector<ZipItem> manyFiles() {
        std::vector<ZipItem> items(200);
        for (std::size_t i = 0; i < items.size(); ++i)
            items[i] = zipFile("d/" + std::to_string(i) + std::string(50, 'n'));
        items[0] = zipFolder("d/", 0555);
        return items;
    }

    static unsigned modeOf(const std::string& path) {
        struct stat info = {};
        EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
        return info.st_mode & 07777U;
    }

    test::TempFolder folder_;
    std::string work_ = folder_.makeFolder("work");
    std::string dest_ = work_ + "/dest";
};

}  // namespace quillmoor::ditto
