#include "tests/platform/support/folding_file_system.h"

#include <cstdlib>
#include <filesystem>

namespace quillmoor::test {
namespace {

std::string inQuotes(const std::string& path) {
    return "'" + path + "'";
}

// The output of a command, without the newline.
std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

}  // namespace

FoldingFileSystem::FoldingFileSystem(const TempFolder& folder)
    : image_(folder / "folding image"),
      mounted_(folder.makeFolder("folding")),
      output_(folder / "folding output") {
    if (!mounts_.available()) {
        excuse_ = "nothing can be mounted here";
        return;
    }
    isUnix_ = mountUnix();
    if (!isUnix_ && !mountExfat()) return;
    excuse_.clear();
    if (path_.empty()) path_ = mounted_;
}

FoldingFileSystem::~FoldingFileSystem() {
    if (!path_.empty()) run("umount " + inQuotes(mounted_));
    if (!device_.empty()) run("losetup --detach " + device_);
    std::error_code ignored;
    std::filesystem::remove(image_, ignored);
    std::filesystem::remove(output_, ignored);
}

// What it says is the excuse when it fails.
bool FoldingFileSystem::run(const std::string& command) {
    const std::string all = "PATH=\"$PATH:/usr/sbin:/sbin\"; { " + command + "; } >" +
                            inQuotes(output_) + " 2>&1 </dev/null";
    if (std::system(all.c_str()) == 0) return true;
    excuse_ += (excuse_.empty() ? "" : "; ") + command.substr(0, command.find(' ')) + ": " +
               firstLine(readFile(output_));
    return false;
}

bool FoldingFileSystem::mountUnix() {
    const std::string folding = mounted_ + "/in";
    if (!run("truncate --size 32M " + inQuotes(image_)) ||
        !run("mkfs.ext4 -q -O casefold -E encoding=utf8 " + inQuotes(image_)) ||
        !run("mount -o loop " + inQuotes(image_) + " " + inQuotes(mounted_)))
        return false;
    path_ = folding;
    return run("mkdir " + inQuotes(folding)) && run("chattr +F " + inQuotes(folding));
}

bool FoldingFileSystem::mountExfat() {
    if (!path_.empty()) run("umount " + inQuotes(mounted_));
    path_.clear();
    if (!run("mkfs.exfat " + inQuotes(image_)) || !run("losetup --find --show " + inQuotes(image_)))
        return false;
    device_ = firstLine(readFile(output_));
    return run("mount.exfat-fuse " + device_ + " " + inQuotes(mounted_));
}

}  // namespace quillmoor::test
