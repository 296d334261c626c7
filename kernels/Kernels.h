// SPDX-License-Identifier: BSD-3-Clause
// The inner loops that gain from wide registers: one table of functions for each instruction set, chosen
// once. All give the same bits.
#pragma once

#include <cstdint>
#include <span>

namespace icawave {

template <class T>
struct RangePassOf;
template <class T>
struct MagnitudeRangePassOf;
template <class T>
struct SumPassOf;
template <class T>
struct SquaresPassOf;
template <class T>
struct RangeAndSumPassOf;
template <class T>
struct StatisticsPassOf;

// How many channels a pass takes side by side, and the side of the square that is transposed at once.
inline constexpr int kernelLanes = 8;

// Takes samples begin, begin + 1, ... of `kernelLanes` channels, each in its ascending order, as long as
// whole registers can be filled; returns the first sample that is left.
template <template <class> class PassOf>
using PassKernel = std::int64_t (*)(const double* const* values, std::int64_t begin, std::int64_t stop,
                                    PassOf<double>* passes);

struct Kernels {
    const char* level;

    PassKernel<RangePassOf> range;
    PassKernel<MagnitudeRangePassOf> magnitudeRange;
    PassKernel<SumPassOf> sum;
    PassKernel<SquaresPassOf> squares;
    PassKernel<RangeAndSumPassOf> rangeAndSum;
    PassKernel<StatisticsPassOf> statistics;

    // Takes samples of one array, as long as whole blocks are left; returns the first that is left.
    std::int64_t (*chain)(const double* values, std::int64_t begin, std::int64_t stop,
                          RangeAndSumPassOf<double>& pass);

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
