// SPDX-License-Identifier: BSD-3-Clause
// Memory for many allocations that will follow, taken from the system at once.
#pragma once

#include <cstdint>

namespace icawave {

// The first touch of each page of new memory costs many times the copy that it is touched for, and the C
// library gives a freed heap back at once, so every load of many arrays would pay for every page of them.
//
// This has the heap grow by what `bytes` lack (at most 256 MiB are looked at), has the system provide the
// pages in one call, in huge ones where it can, and frees them: allocations that follow are cut from them,
// each one of its own. The last 64 KiB stay allocated, so that what is released before them is there for the
// next load; malloc_trim gives it to the system. Less than 256 KiB is not worth it. Without the GNU C library
// nothing happens.
void prepareMemory(std::int64_t bytes) noexcept;

} // namespace icawave
