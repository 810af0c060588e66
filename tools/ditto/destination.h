// The folder that archives are unpacked into. Items are collected in a stage until all are done.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quillmoor/platform/posix/fs/tree_remove_posix.h"
#include "tools/ditto/entry_tree.h"
#include "tools/ditto/folder_access.h"

namespace quillmoor::ditto {

// If the destination does not exist, the stage is created beside it and renamed to it. If it is a
// folder, or a link to one, the stage is created inside it and its items are moved up; existing
// items are left unchanged. Destroyed without commit(), it removes the stage and every folder that
// it created.
class Destination {
  public:
    // Creates the missing folders above, and the stage, which only its owner may enter. Throws
    // Failure if that cannot be done, and if `path` exists and is not a folder.
    Destination(const std::string& path, unsigned umask);
    ~Destination();
    Destination(const Destination&) = delete;
    Destination& operator=(const Destination&) = delete;

    int stage() const { return stage_.get(); }
    bool exists() const { return exists_; }
    FoldCase foldCase() const;

    // Throws Failure if the destination already holds one of the names.
    void requireFree(const std::vector<std::string_view>& names) const;

    // Moves the finished items, which have these names in the stage, to the destination. Either all
    // are moved or, with a Failure, none.
    void commit(const std::vector<std::string_view>& names);

    // The destination itself, after commit().
    int folder() const { return exists_ ? parent_.get() : stage_.get(); }

  private:
    void openParent(const std::string& path);
    void makeParents(const std::string& path);
    void makeStage();
    void requireOwnStage();
    void moveUp(const std::vector<std::string_view>& names);
    void takeBack(std::span<const std::string> items);
    void removeStage() noexcept;
    void rollBack() noexcept;

    std::string path_;
    unsigned umask_;
    bool exists_ = false;
    bool committed_ = false;
    std::vector<std::string> madeFolders_;
    Descriptor parent_;  // the folder that holds the stage
    std::string name_;   // of the destination in its parent, if it did not exist
    std::string stageName_;
    Descriptor stage_;
    // Closed to remove the stage.
    std::array<Descriptor, platform::posix::kDescriptorsToEmpty> spare_;
};

}  // namespace quillmoor::ditto
