// The kernel's calls that only macOS has, made of what Linux has: they do what a Mac's do as far as
// the file system here can, and record how they were called.
#pragma once

#include <mach/mach.h>
#include <spawn.h>
#include <sys/attr.h>
#include <time.h>

#include <cerrno>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace quillmoor::test {

// One at a time, as long as it lives. Without one the calls work in the same way, clones excepted.
class FakeKernel {
  public:
    FakeKernel();
    ~FakeKernel();
    FakeKernel(const FakeKernel&) = delete;
    FakeKernel& operator=(const FakeKernel&) = delete;

    struct Rename {
        std::string name, newName;
        unsigned flags = 0;
    };
    std::vector<Rename> renames;

    // Clones are copies here; without this they fail, as on a file system that has none.
    bool canClone = false;
    bool clonesHaveNoMode = false;  // as the clone of a file without permissions
    std::vector<std::uint32_t> cloneFlags;

    // Of each folder's access control list: 0 where it has one, else the error of reading it.
    int accessListError = ENOENT;
    std::vector<int> accessListTypes;
    int accessLists = 0;                      // read and not freed
    std::vector<std::string> withAccessList;  // the names of those that were given one

    struct AttributeCall {
        std::string name;
        std::uint32_t position = 0;
        int options = 0;
    };
    std::vector<AttributeCall> attributeCalls;

    struct Preallocation {
        int command = 0;
        unsigned flags = 0;
        int mode = 0;
        off_t offset = 0, length = 0;
    };
    std::vector<Preallocation> preallocations;

    // Attribute lists: the requests, and what the replies have beside the item's own dates.
    struct ListCall {
        attrlist request{};
        unsigned long options = 0;
        std::vector<std::uint8_t> written;  // the bytes of setattrlistat
    };
    std::vector<ListCall> listCalls;
    std::map<std::string, std::uint32_t> flagsOf;  // by the item's name
    std::map<std::string, bool> isMountPoint;
    std::map<std::string, timespec> creationDates;
    int listError = 0;  // of the next calls

    std::vector<short> spawnFlags;
    std::vector<int> inherited;

    std::vector<char*> environment;  // of this process, if it is not empty

    struct Remap {
        mach_vm_address_t address = 0, source = 0;
        mach_vm_size_t size = 0;
        int flags = 0, copy = 0;
        unsigned inheritance = 0;
    };
    std::vector<Remap> remaps;
    bool refusesRemap = false;
};

}  // namespace quillmoor::test
