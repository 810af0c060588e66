// Takes any bytes for an archive: reading its index ends in a list or a Failure, and a list that is
// valid neither leads out of the destination nor plans one item twice.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tools/ditto/archive_index.h"
#include "tools/ditto/archive_validation.h"
#include "tools/ditto/failure.h"
#include "tools/ditto/unpack_plan.h"

namespace {

using namespace quillmoor::ditto;  // NOLINT(google-build-using-namespace): the program's own

void require(bool condition) {
    if (!condition) std::abort();
}

void checkPaths(const std::vector<PlannedItem>& items) {
    for (const PlannedItem& item : items) {
        require(!item.path.empty() && item.path.front() != '/' && !item.path.ends_with('/'));
        require(item.path.find('\0') == std::string_view::npos);
        std::size_t size = 0;
        std::string_view component;
        for (PathComponents components(item.path); components.next(component);) {
            require(component != "..");
            size += component.size() + 1;
        }
        require(size == item.path.size() + 1);
    }
}

void checkPlan(const EntryTree& tree) {
    const UnpackPlan plan = makePlan(tree);
    checkPaths(plan.folders);
    checkPaths(plan.files);
    checkPaths(plan.links);
    for (const PlannedItem& link : plan.links) require(link.entry->linkTarget.front() != '/');
    for (std::size_t i = 1; i < tree.nodes().size(); ++i)
        require(tree.nodes()[i - 1].path != tree.nodes()[i].path);
}

void readAndPlan(const std::string& path) {
    const Limits limits{1U << 20U, 1000};
    EntryList list;
    readIndex(InputFile(path), 0, limits, list);
    if (validateEntries(list.entries, limits)) return;
    for (const FoldCase foldCase : {FoldCase::No, FoldCase::Yes}) {
        const EntryTree tree(list.entries, foldCase);
        if (!validateTree(tree, limits)) checkPlan(tree);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const quillmoor::platform::posix::Descriptor file(::memfd_create("archive", MFD_CLOEXEC));
    require(file && ::write(file.get(), bytes, size) == static_cast<ssize_t>(size));
    try {
        readAndPlan("/proc/self/fd/" + std::to_string(file.get()));
    } catch (const Failure&) {
        // A damaged archive is refused, as it must be.
    }
    return 0;
}
