// SPDX-License-Identifier: BSD-3-Clause
// The inner loops that gain from wide registers: one table of functions for each instruction set, chosen
// once. All give the same bits.
#pragma once

#include "kernels/PassTypes.h"

#include <cstdint>
#include <span>

namespace icawave {

// How many arrays a pass takes side by side, and the side of the square that is transposed at once.
inline constexpr int kernelLanes = 8;

struct Kernels {
    const char* level;

    AllPasses::Table passes;
    template <class Pass>
    PassKernel<Pass> take() const {
        return std::get<PassKernel<Pass>>(passes);
    }

    // Takes samples of one array, as long as whole blocks are left; returns the first that is left.
    std::int64_t (*orderedSum)(const double* values, std::int64_t begin, std::int64_t stop,
                               RangeAndSumPass& pass);

    // Divides values; returns how many.
    std::int64_t (*divide)(double* values, std::int64_t count, double divisor);

    // to[c][row + r] = from[r][column + c] for r and c below kernelLanes.
    void (*transpose)(const double* const* from, std::int64_t column, double* const* to, std::int64_t row);
};

// Those that this processor supports, from the plain loops to the widest registers.
std::span<const Kernels* const> kernelLevels();

// The last of them.
const Kernels& kernels();

} // namespace icawave
