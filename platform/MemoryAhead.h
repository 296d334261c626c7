// SPDX-License-Identifier: BSD-3-Clause
// Memory for the many allocations of a load, taken from the system at once and kept afterwards.
#pragma once

#include <cstdint>

namespace icawave {

// Does nothing unless the program keeps memory (icawave/platform/Memory.h).
//
// A page fault on new memory costs many times the copying that causes it, and the C library returns a freed
// heap to the system at once. This allocates `bytes` in pieces of 64 KiB, has the system provide their pages
// in one call and frees the pieces, so that the load's allocations are taken from provided pages. The piece
// with the highest address stays allocated: a heap is only returned from its end.
void prepareMemory(std::int64_t bytes) noexcept;

} // namespace icawave
