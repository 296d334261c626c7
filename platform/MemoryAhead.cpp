// SPDX-License-Identifier: BSD-3-Clause
#include "platform/MemoryAhead.h"

#include <icawave/platform/Memory.h>

#include "system/System.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace icawave {

namespace {

constexpr std::size_t pieceBytes = 64 * 1024; // taken from the heap; malloc maps large blocks
constexpr std::size_t maxPieces = 4096;
constexpr std::int64_t worthPreparing = 256 * 1024;

std::atomic<std::int64_t> keptBytes = 0;

// The highest piece of what was prepared: the heap does not shrink below it.
struct HeldPiece {
    ~HeldPiece() { release(); }
    void release() noexcept { std::free(reinterpret_cast<void*>(address.exchange(0))); }
    // Keeps the higher one of the two and frees the other.
    void replace(std::uintptr_t piece) noexcept {
        std::uintptr_t held = address.load();
        while (held < piece && !address.compare_exchange_weak(held, piece)) {
        }
        std::free(reinterpret_cast<void*>(std::min(held, piece)));
    }
    std::atomic<std::uintptr_t> address = 0;
} heldPiece;

} // namespace

void keepMemory(std::int64_t bytes) noexcept {
    keptBytes = std::max<std::int64_t>(bytes, 0);
    if (bytes <= 0) giveMemoryBack();
}

void giveMemoryBack() noexcept {
    heldPiece.release();
    system::giveBackFreeMemory();
}

#ifdef __GLIBC__

void prepareMemory(std::int64_t bytes) noexcept {
    bytes = std::min<std::int64_t>(bytes, keptBytes);
    if (bytes < worthPreparing) return;
    std::array<std::byte*, maxPieces> pieces;
    const std::size_t wanted = std::min<std::size_t>(bytes / pieceBytes + 1, maxPieces);
    std::size_t count = 0;
    while (count < wanted && (pieces[count] = static_cast<std::byte*>(std::malloc(pieceBytes)))) ++count;
    if (count == 0) return;
    std::sort(pieces.begin(), pieces.begin() + count, std::less<>());
    std::byte *begin = nullptr, *end = nullptr; // of adjacent pieces without pages
    for (std::size_t k = 0; k < count; ++k) {
        if (system::isProvided(pieces[k] + pieceBytes / 2)) continue;
        if (!end || static_cast<std::size_t>(pieces[k] - end) > system::pageBytes) {
            if (end) system::provide(begin, end);
            begin = pieces[k];
        }
        end = pieces[k] + pieceBytes;
    }
    if (end) system::provide(begin, end);
    for (std::size_t k = 0; k + 1 < count; ++k) std::free(pieces[k]);
    heldPiece.replace(reinterpret_cast<std::uintptr_t>(pieces[count - 1]));
}

#else

void prepareMemory(std::int64_t) noexcept {}

#endif

} // namespace icawave
