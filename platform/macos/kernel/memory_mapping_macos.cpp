#include <mach/mach.h>
#include <mach/mach_vm.h>
#include <sys/mman.h>

#include <cstdint>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/process/memory_mapping_posix.h"

namespace quillmoor::platform::posix {
namespace {

char* map(char* wished, std::size_t size) {
    void* const start =
        systemCalls().mmap(wished, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
    return start == MAP_FAILED ? nullptr : static_cast<char*>(start);
}

// Maps the pages of `bytes` at `place` as well, in place of those that are there, without a copy.
bool mapAgain(char* bytes, std::size_t size, char* place) {
    auto address = static_cast<mach_vm_address_t>(reinterpret_cast<std::uintptr_t>(place));
    const auto source = static_cast<mach_vm_address_t>(reinterpret_cast<std::uintptr_t>(bytes));
    vm_prot_t current = 0;
    vm_prot_t maximum = 0;
    return ::mach_vm_remap(mach_task_self(), &address, size, 0, VM_FLAGS_FIXED | VM_FLAGS_OVERWRITE,
                           mach_task_self(), source, 0, &current, &maximum,
                           VM_INHERIT_DEFAULT) == KERN_SUCCESS;
}

}  // namespace

char* mapMemory(std::size_t size) {
    return map(nullptr, size);
}

char* growMapping(char* bytes, std::size_t size, std::size_t newSize) {
    if (newSize == size) return bytes;
    // In place, where nothing else is behind it: the address is a wish that may not be granted.
    char* const rest = map(bytes + size, newSize - size);
    if (rest == bytes + size) return bytes;
    if (rest != nullptr) unmapMemory(rest, newSize - size);
    char* const place = map(nullptr, newSize);
    if (place == nullptr) return nullptr;
    if (!mapAgain(bytes, size, place)) {
        unmapMemory(place, newSize);
        return nullptr;
    }
    unmapMemory(bytes, size);
    return place;
}

void unmapMemory(char* bytes, std::size_t size) {
    ::munmap(bytes, size);
}

}  // namespace quillmoor::platform::posix
