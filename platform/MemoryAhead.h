// SPDX-License-Identifier: BSD-3-Clause
// Memory for the many allocations of a load, taken from the system at once and kept afterwards.
#pragma once

#include <cstdint>

namespace icawave {

// Does nothing unless the program keeps memory (icawave/platform/Memory.h).
//
// The first touch of each page of new memory costs many times the copy that it is touched for, and the C
// library gives a freed heap back at once. This has the heap grow by what `bytes` lack, has the system provide
// the pages in one call, and frees them: allocations that follow are cut from them, each one of its own. The
// last 64 KiB stay allocated, so that what is released before them stays with the program.
void prepareMemory(std::int64_t bytes) noexcept;

} // namespace icawave
