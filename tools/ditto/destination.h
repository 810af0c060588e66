// The folder that archives are unpacked into: a stage of its own until all is done.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quillmoor/platform/posix/fs/tree_remove_posix.h"
#include "tools/ditto/beneath.h"
#include "tools/ditto/entry_tree.h"

namespace quillmoor::ditto {

// Where the destination does not exist, the stage stands beside it and becomes it. Where it is a
// folder, or a link to one, the stage stands in it and its items move up; what is there stays.
// Destroyed without commit(), it removes the stage and every folder that it made.
class Destination {
  public:
    // Makes the missing folders above, and the stage, which nobody else may enter. Throws Failure
    // where that cannot be done, and where something stands that is no folder.
    Destination(const std::string& path, unsigned umask);
    ~Destination();
    Destination(const Destination&) = delete;
    Destination& operator=(const Destination&) = delete;

    int stage() const { return stage_.get(); }
    bool exists() const { return exists_; }
    FoldCase foldCase() const;

    // Throws Failure if one of the names stands in the destination already.
    void requireFree(const std::vector<std::string_view>& names) const;

    // Puts the finished items, these names in the stage, in their place. Either all arrive or,
    // with a Failure, none.
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
    Descriptor parent_;  // what the stage stands in
    std::string name_;   // of the destination in its parent, where it does not exist
    std::string stageName_;
    Descriptor stage_;
    // Closed when the stage is removed.
    std::array<Descriptor, platform::posix::kDescriptorsToEmpty> spare_;
};

}  // namespace quillmoor::ditto
