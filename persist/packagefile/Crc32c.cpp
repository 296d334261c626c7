// SPDX-License-Identifier: BSD-3-Clause
#include "persist/packagefile/Crc32c.h"

#include <array>
#include <cstring>

#if defined(__x86_64__)
#    include <nmmintrin.h>
#endif

namespace {

constexpr std::uint32_t reversedPolynomial = 0x82F63B78;

// tables[0][b] is the checksum of byte b; tables[k][b] that of b with k zero bytes behind it.
using Tables = std::array<std::array<std::uint32_t, 256>, 8>;

constexpr Tables makeTables() {
    Tables tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (crc & 1 ? reversedPolynomial : 0);
        tables[0][byte] = crc;
    }
    for (std::size_t k = 1; k < tables.size(); ++k) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t before = tables[k - 1][byte];
            tables[k][byte] = (before >> 8) ^ tables[0][before & 0xFF];
        }
    }
    return tables;
}

constexpr Tables tables = makeTables();

// The instruction takes three times as long as it takes until the next one may begin, so that three blocks go
// together.
constexpr std::size_t blockBytes = 1024;

// shifts[k][b] is what a state that has b as its k-th byte becomes when a block of zeros follows.
using Shifts = std::array<std::array<std::uint32_t, 256>, 4>;

constexpr Shifts makeShifts() {
    Shifts shifts{};
    for (std::size_t k = 0; k < shifts.size(); ++k) {
        for (std::size_t bit = 0; bit < 8; ++bit) {
            std::uint32_t state = std::uint32_t{1} << (8 * k + bit);
            for (std::size_t zero = 0; zero < blockBytes; ++zero)
                state = (state >> 8) ^ tables[0][state & 0xFF];
            for (std::size_t byte = 0; byte < 256; ++byte) shifts[k][byte] ^= (byte >> bit & 1) ? state : 0;
        }
    }
    return shifts;
}

constexpr Shifts shifts = makeShifts();

std::uint32_t overZeros(std::uint64_t state) {
    return shifts[0][state & 0xFF] ^ shifts[1][state >> 8 & 0xFF] ^ shifts[2][state >> 16 & 0xFF] ^
           shifts[3][state >> 24 & 0xFF];
}

} // namespace

std::uint32_t icawave::crc32cByTable(std::uint32_t crc, const void* bytes, std::size_t count) noexcept {
    const auto* next = static_cast<const unsigned char*>(bytes);
    std::uint64_t state = ~crc;
    for (; count >= 8; count -= 8, next += 8) {
        std::uint64_t word;
        std::memcpy(&word, next, 8);
        word ^= state;
        state = 0;
        for (std::size_t k = 0; k < 8; ++k) state ^= tables[7 - k][(word >> (8 * k)) & 0xFF];
    }
    for (; count > 0; --count, ++next) state = (state >> 8) ^ tables[0][(state ^ *next) & 0xFF];
    return ~static_cast<std::uint32_t>(state);
}

#if defined(__x86_64__)

bool icawave::hasCrc32cInstruction() noexcept {
    return __builtin_cpu_supports("sse4.2") != 0;
}

[[gnu::target("sse4.2")]] std::uint32_t icawave::crc32cByInstruction(std::uint32_t crc, const void* bytes,
                                                                     std::size_t count) noexcept {
    const auto* next = static_cast<const unsigned char*>(bytes);
    const auto take = [](std::uint64_t & state, const unsigned char* from) __attribute__((target("sse4.2"))) {
        std::uint64_t word;
        std::memcpy(&word, from, 8);
        state = _mm_crc32_u64(state, word);
    };
    std::uint64_t state = ~crc;
    for (; count >= 3 * blockBytes; count -= 3 * blockBytes, next += 3 * blockBytes) {
        std::uint64_t second = 0, third = 0;
        for (std::size_t k = 0; k < blockBytes; k += 8) {
            take(state, next + k);
            take(second, next + blockBytes + k);
            take(third, next + 2 * blockBytes + k);
        }
        state = overZeros(overZeros(state) ^ second) ^ third;
    }
    for (; count >= 8; count -= 8, next += 8) take(state, next);
    auto last = static_cast<std::uint32_t>(state);
    for (; count > 0; --count, ++next) last = _mm_crc32_u8(last, *next);
    return ~last;
}

#else

bool icawave::hasCrc32cInstruction() noexcept {
    return false;
}

std::uint32_t icawave::crc32cByInstruction(std::uint32_t crc, const void* bytes, std::size_t count) noexcept {
    return crc32cByTable(crc, bytes, count);
}

#endif

std::uint32_t icawave::crc32c(std::uint32_t crc, const void* bytes, std::size_t count) noexcept {
    static const auto compute = hasCrc32cInstruction() ? crc32cByInstruction : crc32cByTable;
    return compute(crc, bytes, count);
}
