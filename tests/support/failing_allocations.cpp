#include "tests/support/failing_allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace quillmoor::test {
namespace {

std::atomic<AllocationFails> wanted{nullptr};
thread_local bool isTheTests = false;  // whether this thread allocates for the test

bool isToFail() {
    const AllocationFails fails = wanted.load(std::memory_order_acquire);
    return fails != nullptr && !isTheTests && fails();
}

}  // namespace

void setAllocationFails(AllocationFails fails) {
    wanted.store(fails, std::memory_order_release);
}

NotCounted::NotCounted() : before_(isTheTests) {
    isTheTests = true;
}

NotCounted::~NotCounted() {
    isTheTests = before_;
}

}  // namespace quillmoor::test

namespace {

void* alignedMemory(std::size_t size, std::align_val_t alignment) {
    const auto step = static_cast<std::size_t>(alignment);
    return std::aligned_alloc(step, (size + step - 1) / step * step);
}

}  // namespace

// Replaces every allocation of this program. The array forms as well: a sanitizer has its own,
// which do not call these.
void* operator new(std::size_t size) {
    if (quillmoor::test::isToFail()) throw std::bad_alloc();
    if (void* const memory = std::malloc(size > 0 ? size : 1)) return memory;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return quillmoor::test::isToFail() ? nullptr : std::malloc(size > 0 ? size : 1);
}

void* operator new[](std::size_t size) {
    return ::operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& nothrow) noexcept {
    return ::operator new(size, nothrow);
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    if (quillmoor::test::isToFail()) throw std::bad_alloc();
    if (void* const memory = alignedMemory(size, alignment)) return memory;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return quillmoor::test::isToFail() ? nullptr : alignedMemory(size, alignment);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
