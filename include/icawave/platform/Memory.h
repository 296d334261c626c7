// SPDX-License-Identifier: BSD-3-Clause
// Memory that a program keeps for its next load.
//
// What a closed package took goes back to the system, and each page of it has to be provided anew when the
// next one is loaded, which takes several times the reading itself. A program that loads one package after
// the other can keep some of that memory instead:
//
//     icawave::keepMemory(256 << 20);   // bytes, once, when the program starts
#pragma once

#include <icawave/Export.h>

#include <cstdint>

namespace icawave {

// From now on, about `bytes` of what a load takes (256 MiB at the most) stay with the program when they are
// released, for the next load. 0, as at the start, keeps nothing and gives back what is kept. Nothing happens
// where the C library is not GNU's.
ICAWAVE_EXPORT void keepMemory(std::int64_t bytes) noexcept;

// Gives what is kept back to the system; the next load keeps again.
ICAWAVE_EXPORT void giveMemoryBack() noexcept;

} // namespace icawave
