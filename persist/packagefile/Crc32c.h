// SPDX-License-Identifier: BSD-3-Clause
// CRC-32C (Castagnoli), the checksum of package files: it finds every change of up to 32 neighbouring bits.
//
//     std::uint32_t crc = crc32c(0, "1234", 4);
//     crc = crc32c(crc, "56789", 5);    // 0xE3069283
#pragma once

#include <cstddef>
#include <cstdint>

namespace icawave {

// The checksum of the bytes behind those that gave `crc`; 0 for none. Uses the processor's instruction where
// there is one.
std::uint32_t crc32c(std::uint32_t crc, const void* bytes, std::size_t count) noexcept;

// The two ways to it, for tests that compare them.
bool hasCrc32cInstruction() noexcept;
std::uint32_t crc32cByInstruction(std::uint32_t crc, const void* bytes, std::size_t count) noexcept;
std::uint32_t crc32cByTable(std::uint32_t crc, const void* bytes, std::size_t count) noexcept;

} // namespace icawave
