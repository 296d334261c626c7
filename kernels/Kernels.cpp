// SPDX-License-Identifier: BSD-3-Clause
#include "kernels/Kernels.h"

#include <algorithm>

namespace icawave {

namespace {

struct PlainLoops {
    template <template <class> class PassOf>
    static std::int64_t take(const double* const* values, std::int64_t begin, std::int64_t stop,
                             PassOf<double>* passes) {
        for (std::int64_t i = begin; i < stop; ++i) {
            for (int k = 0; k < kernelLanes; ++k) passes[k].take(values[k][i]);
        }
        return std::max(begin, stop);
    }

    static std::int64_t orderedSum(const double*, std::int64_t begin, std::int64_t, RangeAndSumPass&) {
        return begin;
    }

    static std::int64_t divide(double* values, std::int64_t count, double divisor) {
        for (std::int64_t i = 0; i < count; ++i) values[i] /= divisor;
        return std::max<std::int64_t>(count, 0);
    }

    static void transpose(const double* const* from, std::int64_t column, double* const* to,
                          std::int64_t row) {
        for (int r = 0; r < kernelLanes; ++r) {
            for (int c = 0; c < kernelLanes; ++c) to[c][row + r] = from[r][column + c];
        }
    }
};

constexpr Kernels plainKernels = {"plain loops", AllPasses::table<PlainLoops>(), PlainLoops::orderedSum,
                                  PlainLoops::divide, PlainLoops::transpose};

} // namespace

#ifdef __x86_64__
extern const Kernels sse2Kernels, avx2Kernels;

std::span<const Kernels* const> kernelLevels() {
    static const Kernels* const levels[] = {&plainKernels, &sse2Kernels, &avx2Kernels};
#    ifdef ICAWAVE_BASELINE
    constexpr std::size_t supported = 2;
#    else
    static const std::size_t supported = __builtin_cpu_supports("avx2") ? 3 : 2;
#    endif
    return std::span(levels).first(supported);
}
#else
std::span<const Kernels* const> kernelLevels() {
    static const Kernels* const levels[] = {&plainKernels};
    return levels;
}
#endif

const Kernels& kernels() {
    static const Kernels& widest = *kernelLevels().back();
    return widest;
}

} // namespace icawave
