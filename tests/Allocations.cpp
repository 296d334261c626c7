// Replaces the allocation functions of the test program, and so of the library in it, by ones that can fail
// and never give zeroed memory.
#include "tests/Support.h"

#include <cstdlib>
#include <new>

namespace {

long countdown = -1; // allocations until the one that fails; below 0: none will
bool reached = false;

void* allocate(std::size_t size) {
    if (countdown >= 0 && countdown-- == 0) {
        reached = true;
        return nullptr;
    }
    void* block = std::malloc(size ? size : 1);
    if (block) std::memset(block, 0xA5, size); // leftover memory shows
    return block;
}

} // namespace

test::FailAllocation::FailAllocation(long n) {
    reached = false;
    countdown = n;
}

test::FailAllocation::~FailAllocation() {
    countdown = -1;
}

bool test::FailAllocation::failed() const {
    return reached;
}

void* operator new(std::size_t size) {
    if (void* block = allocate(size)) return block;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete[](void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
