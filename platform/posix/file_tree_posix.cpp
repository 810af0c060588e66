#include "quillmoor/platform/file_tree.h"

#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/fs/move_posix.h"
#include "quillmoor/platform/posix/fs/tree_match_posix.h"
#include "quillmoor/platform/posix/fs/tree_size_posix.h"
#include "quillmoor/platform/posix/ground/error_text_posix.h"

namespace quillmoor::platform {
namespace posix {
namespace {

class PosixFileTree : public FileTree {
  public:
    std::uint64_t size(const std::string& path, const StopToken& stop) override {
        return treeSize(path, stop);
    }

    TreeCount count(const std::string& path, const StopToken& stop) override {
        return treeCount(path, stop);
    }

    Outcome copy(const std::string& path, const std::string& destination, TreeProgress* progress,
                 const StopToken& stop) override {
        return fileOutcome(FileVerb::Copied, path, copyPath(path, destination, {progress, stop}));
    }

    StringList match(const StringList& folders, const std::string& pattern) override {
        return matchEntries(folders, pattern);
    }
};

}  // namespace
}  // namespace posix

FileTree* nativeFileTree() {
    static auto* const trees = new posix::PosixFileTree;
    return trees;
}

}  // namespace quillmoor::platform
