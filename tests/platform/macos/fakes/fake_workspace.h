// The workspace, which opens, finds and recycles, as a fake that records each call. Its real one
// needs a desktop.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quillmoor::test {

// One at a time, as long as it lives. Without one every call fails.
class FakeWorkspace {
  public:
    FakeWorkspace();
    ~FakeWorkspace();
    FakeWorkspace(const FakeWorkspace&) = delete;
    FakeWorkspace& operator=(const FakeWorkspace&) = delete;

    struct Operation {
        std::string operation, source, destination;
        std::vector<std::string> files;
        bool hasTag = false;
        bool operator==(const Operation&) const = default;
    };
    std::vector<Operation> operations;
    // Items are moved to this folder, under a new name where theirs is taken; unset, none is moved.
    std::optional<std::string> trash;
    // Instead of that, the Trash of the home that the environment gives, which is made.
    bool usesHome = false;

    std::map<std::string, std::string> applications;  // paths by identifier
    std::vector<std::string> opened;
    bool opens = true;
    std::vector<std::string> noted;
    std::vector<std::string> packages;

    // Methods that it lacks, as a later system may. Who sends one of them raises an exception.
    std::set<std::string> missing;
    // Every call raises an NSException named Name, whose reason is "a reason".
    bool raises = false;
};

}  // namespace quillmoor::test
