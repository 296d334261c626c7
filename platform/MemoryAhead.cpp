// SPDX-License-Identifier: BSD-3-Clause
#include "platform/MemoryAhead.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <sys/mman.h>

namespace icawave {

#if defined(__GLIBC__) && defined(MADV_POPULATE_WRITE)

namespace {

constexpr std::size_t pieceBytes = 64 * 1024; // below what malloc asks the system for by itself
constexpr std::size_t mostPieces = 4096;
constexpr std::uintptr_t pageBytes = 4096;

constexpr std::int64_t worthPreparing = 256 * 1024;

// The highest piece of what was prepared, as long as the library is loaded.
struct HeldPiece {
    ~HeldPiece() { std::free(reinterpret_cast<void*>(address.load())); }
    // Keeps the higher one of the two and frees the other.
    void replace(std::uintptr_t piece) noexcept {
        std::uintptr_t held = address.load();
        while (held < piece && !address.compare_exchange_weak(held, piece)) {
        }
        std::free(reinterpret_cast<void*>(std::min(held, piece)));
    }
    std::atomic<std::uintptr_t> address = 0;
} heldPiece;

bool isThere(std::uintptr_t piece) noexcept {
    unsigned char pages = 0;
    void* const middle = reinterpret_cast<void*>((piece + pieceBytes / 2) & ~(pageBytes - 1));
    return ::mincore(middle, pageBytes, &pages) == 0 && (pages & 1) != 0;
}

void populate(std::uintptr_t begin, std::uintptr_t end) noexcept {
    begin &= ~(pageBytes - 1);
    void* const pages = reinterpret_cast<void*>(begin);
    ::madvise(pages, end - begin, MADV_HUGEPAGE);
    ::madvise(pages, end - begin, MADV_POPULATE_WRITE); // either may fail: pages come when they are touched
}

} // namespace

void prepareMemory(std::int64_t bytes) noexcept {
    if (bytes < worthPreparing) return;
    std::array<void*, mostPieces> pieces;
    const std::size_t wanted = std::min(static_cast<std::size_t>(bytes) / pieceBytes + 1, mostPieces);
    std::size_t count = 0;
    while (count < wanted && (pieces[count] = std::malloc(pieceBytes))) ++count;
    if (count == 0) return;
    std::sort(pieces.begin(), pieces.begin() + count);
    std::uintptr_t begin = 0, end = 0; // of pieces side by side that are not there yet
    for (std::size_t k = 0; k < count; ++k) {
        const auto address = reinterpret_cast<std::uintptr_t>(pieces[k]);
        if (isThere(address)) continue;
        if (address - end > pageBytes) {
            if (end) populate(begin, end);
            begin = address;
        }
        end = address + pieceBytes;
    }
    if (end) populate(begin, end);
    for (std::size_t k = 0; k + 1 < count; ++k) std::free(pieces[k]);
    heldPiece.replace(reinterpret_cast<std::uintptr_t>(pieces[count - 1]));
}

#else

void prepareMemory(std::int64_t) noexcept {}

#endif

} // namespace icawave
