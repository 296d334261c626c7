// SPDX-License-Identifier: BSD-3-Clause
// Passes over arrays of values, several arrays at a time.
//
// An in-order sum waits for each addition to finish before the next may begin. Arrays do not depend on one
// another, so several go together while each keeps its own ascending order: the same bits as one after the
// other, several times as fast.
#pragma once

#include "kernels/Kernels.h"

#include <algorithm>

namespace icawave {

// Divides each of `count` values.
inline void divide(double* values, std::int64_t count, double divisor) {
    for (std::int64_t i = kernels().divide(values, count, divisor); i < count; ++i) values[i] /= divisor;
}

// Takes values begin ... stop - 1.
template <class Pass>
void takeValues(const double* values, std::int64_t begin, std::int64_t stop, Pass& pass) {
    for (std::int64_t i = begin; i < stop; ++i) pass.take(values[i]);
}

// The same of `count` arrays, 1 to kernelLanes of them, each with a pass of its own.
template <class Pass>
void takeSideBySide(const double* const* arrays, int count, std::int64_t begin, std::int64_t stop,
                    Pass* passes) {
    const double* values[kernelLanes];
    Pass lanes[kernelLanes];
    for (int k = 0; k < kernelLanes; ++k) { // the first array fills the lanes that are not needed
        values[k] = arrays[k < count ? k : 0];
        lanes[k] = passes[k < count ? k : 0];
    }
    if (count > 1) begin = kernels().take<Pass>()(values, begin, stop, lanes);
    for (int k = 0; k < count; ++k) {
        passes[k] = lanes[k];
        takeValues(values[k], begin, stop, passes[k]);
    }
}

} // namespace icawave
