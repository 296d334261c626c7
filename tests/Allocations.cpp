// SPDX-License-Identifier: BSD-3-Clause
// Replaces the allocation functions of the test program, and so of the library in it, by ones that can fail,
// never give zeroed memory and know how much is in use.
#include "tests/Support.h"

#include <algorithm>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {

long countdown = -1; // allocations until the one that fails; below 0: none will
bool reached = false;
std::size_t used = 0, most = 0; // bytes

void* allocate(std::size_t size) {
    if (countdown >= 0 && countdown-- == 0) {
        reached = true;
        return nullptr;
    }
    void* block = std::malloc(size ? size : 1);
    if (!block) return nullptr;
    std::memset(block, 0xA5, size); // leftover memory shows
    used += ::malloc_usable_size(block);
    most = std::max(most, used);
    return block;
}

void release(void* block) {
    used -= ::malloc_usable_size(block);
    std::free(block);
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

test::PeakMemory::PeakMemory() : m_before(used) {
    most = used;
}

std::size_t test::PeakMemory::bytes() const {
    return most - m_before;
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
    release(block);
}

void operator delete[](void* block) noexcept {
    release(block);
}

void operator delete(void* block, std::size_t) noexcept {
    release(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    release(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept {
    release(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept {
    release(block);
}
