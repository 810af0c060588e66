// Creates trees to be packed and compared.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "tests/support/temp_folder.h"
#include "tests/tools/ditto/run_ditto.h"

namespace quillmoor::ditto {

namespace fs = std::filesystem;
using test::describeTree;
using test::DittoResult;
using test::readFile;
using test::runDitto;
using test::setDate;

class DittoPack : public ::testing::Test {
  protected:
    // A bundle with all kinds of items that bundles have, each with its own date.
    std::string makeBundle() {
        std::string app = folder_.makeFolder("src/X é.app");
        folder_.writeFile("src/X é.app/Contents/MacOS/run", noise(200000));
        folder_.writeFile("src/X é.app/Contents/Linux/run", std::string(700000, 'r'));
        folder_.writeFile("src/X é.app/Contents/Resources/de\xcc\x81 compose\nd \xff.txt", "text");
        folder_.writeFile("src/X é.app/Contents/Resources/-rf", "");
        folder_.writeFile("src/X é.app/.hidden/.file", "hidden");
        folder_.writeFile("src/X é.app/Contents/Frameworks/F.framework/Versions/A/F", "lib");
        folder_.makeLink("src/X é.app/Contents/Frameworks/F.framework/Versions/Current", "A");
        folder_.makeLink("src/X é.app/Contents/Frameworks/F.framework/F", "Versions/Current/F");
        folder_.makeFolder("src/X é.app/Contents/empty");
        ::chmod((app + "/Contents/MacOS/run").c_str(), 0755);
        ::chmod((app + "/Contents/Linux/run").c_str(), 0711);
        ::chmod((app + "/Contents/Resources").c_str(), 0750);
        std::int64_t date = 1000000000;
        std::vector<std::string> paths = {app};
        for (const auto& item : fs::recursive_directory_iterator(app)) paths.push_back(item.path());
        for (const std::string& path : paths) setDate(path, date += 1001);
        return app;
    }

    static std::string noise(std::size_t size) {
        std::mt19937 random(7);
        std::string text(size, '\0');
        for (char& c : text) c = static_cast<char>(random());
        return text;
    }

    std::size_t itemsIn(const std::string& path) const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(path), fs::directory_iterator()));
    }

    test::TempFolder folder_;
    std::string out_ = folder_.makeFolder("out");
    std::string zip_ = out_ + "/a.zip";
};

}  // namespace quillmoor::ditto
