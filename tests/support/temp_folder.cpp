#include "tests/support/temp_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace quillmoor::test {
namespace fs = std::filesystem;

TempFolder::TempFolder() {
    std::string pattern = (fs::temp_directory_path() / "kx-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp " + pattern);
    path_ = pattern;
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    // Folders that a test made unreadable could not be emptied.
    for (auto it = fs::recursive_directory_iterator(
             path_, fs::directory_options::skip_permission_denied, ignored);
         !ignored && it != fs::recursive_directory_iterator(); it.increment(ignored)) {
        std::error_code each;
        if (it->is_directory(each) && !it->is_symlink(each))
            fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, each);
    }
    fs::remove_all(path_, ignored);
}

std::string TempFolder::operator/(std::string_view name) const {
    return path_ + "/" + std::string(name);
}

std::string TempFolder::writeFile(std::string_view name, std::string_view contents) const {
    const std::string path = *this / name;
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << contents;
    return path;
}

std::string TempFolder::makeFolder(std::string_view name) const {
    const std::string path = *this / name;
    fs::create_directories(path);
    return path;
}

std::string TempFolder::makeLink(std::string_view name, std::string_view target) const {
    const std::string path = *this / name;
    fs::create_directories(fs::path(path).parent_path());
    fs::create_symlink(fs::path(target), path);
    return path;
}

std::string readFile(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

bool somethingAt(const std::string& path) {
    std::error_code ignored;
    return fs::symlink_status(path, ignored).type() != fs::file_type::not_found;
}

}  // namespace quillmoor::test
