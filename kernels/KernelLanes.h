// SPDX-License-Identifier: BSD-3-Clause
// The kernels for V, a register of doubles. The source of each level includes this with its own register and
// its own compiler options, so that no other code is compiled with instructions which a processor may lack.
#pragma once

#include "kernels/Kernels.h"

#include <cstring>
#include <utility>

namespace icawave {

template <class V>
struct LanesOf {
    static constexpr int width = sizeof(V) / sizeof(double);

    // f(0), f(1), ... f(count - 1) with constants, so that arrays of registers stay in registers.
    template <int count, class F>
    static void unrolled(F f) {
        [&]<int... k>(std::integer_sequence<int, k...>) {
            (f(std::integral_constant<int, k>()), ...);
        }
        (std::make_integer_sequence<int, count>());
    }

    static V load(const double* from) {
        V value;
        std::memcpy(&value, from, sizeof value);
        return value;
    }

    // Exchanges the two squares of `side` that lie off the diagonal in a pair of rows.
    template <int side>
    static void exchange(V& a, V& b) {
        [&]<int... k>(std::integer_sequence<int, k...>) {
            const V low = __builtin_shufflevector(a, b, ((k & side) ? k - side + width : k)...);
            b = __builtin_shufflevector(a, b, ((k & side) ? k + width : k + side)...);
            a = low;
        }
        (std::make_integer_sequence<int, width>());
    }
    // rows[i][j] and rows[j][i] change places.
    template <int side = 1>
    static void transposeRows(V* rows) {
        unrolled<width>([&](auto k) {
            if constexpr ((k & side) == 0) exchange<side>(rows[k], rows[k + side]);
        });
        if constexpr (2 * side < width) transposeRows<2 * side>(rows);
    }

    // One lane for each channel: a block of samples is loaded as rows and transposed, so that each register
    // then holds one sample of several channels. Two groups run interleaved, which hides the additions'
    // latency. Meanwhile the same samples of the next channels are prefetched, at the addresses that they
    // have if the channels were allocated one after the other: the hardware prefetcher follows neither short
    // rows nor a row into its next page. They go into the second-level cache, since the first level has too
    // few fill buffers (0.9 instead of 0.5 for rows of 200 values). The throughput of getStatistics rose from
    // 0.27 to 1.06 of that of a pass that only reads (64 x 2,000 values).
    template <template <class> class PassOf>
    static std::int64_t take(const double* const* values, std::int64_t begin, std::int64_t stop,
                             PassOf<double>* passes) {
        constexpr int groups = 2, secondLevel = 2;
        const std::uintptr_t ahead = kernelLanes * (reinterpret_cast<std::uintptr_t>(values[1]) -
                                                    reinterpret_cast<std::uintptr_t>(values[0]));
        std::int64_t next = begin;
        for (int first = 0; first < kernelLanes; first += groups * width) {
            PassOf<V> lanes[groups];
            moveFields<PassOf, groups>(lanes, passes + first, true);
            const double* const* from = values + first;
            for (next = begin; next + width <= stop; next += width) {
                unrolled<groups>([&](auto group) {
                    V rows[width];
                    unrolled<width>([&](auto k) {
                        const double* const here = from[group * width + k] + next;
                        __builtin_prefetch(
                            reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(here) + ahead), 0,
                            secondLevel);
                        rows[k] = load(here);
                    });
                    transposeRows(rows);
                    unrolled<width>([&](auto k) { lanes[group].take(rows[k]); });
                });
            }
            moveFields<PassOf, groups>(lanes, passes + first, false);
        }
        return next;
    }

    // Between the running values of each channel and the registers that hold them for several.
    template <template <class> class PassOf, int groups>
    static void moveFields(PassOf<V>* lanes, PassOf<double>* passes, bool in) {
        constexpr int fields = sizeof(PassOf<double>) / sizeof(double);
        for (int group = 0; group < groups; ++group) {
            double inLanes[fields][width], inPasses[width][fields];
            std::memcpy(inLanes, &lanes[group], sizeof inLanes);
            std::memcpy(inPasses, passes + group * width, sizeof inPasses);
            for (int field = 0; field < fields; ++field) {
                for (int k = 0; k < width; ++k) {
                    double &lane = inLanes[field][k], &own = inPasses[k][field];
                    (in ? lane : own) = in ? own : lane;
                }
            }
            if (in)
                std::memcpy(&lanes[group], inLanes, sizeof inLanes);
            else
                std::memcpy(passes + group * width, inPasses, sizeof inPasses);
        }
    }

    // The latency of the sum's additions bounds the pass. So that nothing else does, the range takes many
    // values at a time, and values are prefetched two pages ahead: 0.92 of the throughput of the sum alone
    // instead of 0.73. The order of a block's values matters to the range only where its limit is a zero,
    // whose sign is that of the first one: a block that makes a limit zero is scanned again in order.
    static std::int64_t orderedSum(const double* values, std::int64_t begin, std::int64_t stop,
                                   RangeAndSumPassOf<double>& pass) {
        constexpr int registers = 2, step = registers * width, block = 4 * step;
        constexpr std::int64_t pagesAhead = 1024; // the processor itself stops at the end of each page
        RangeAndSumPassOf<double> running = pass;
        for (; begin + block <= stop; begin += block) {
            RangePassOf<V> lanes[registers];
            unrolled<registers>([&](auto k) {
                lanes[k].min = V{} + running.min;
                lanes[k].max = V{} + running.max;
            });
            for (std::int64_t i = begin; i < begin + block; i += step) {
                unrolled<registers>([&](auto k) { lanes[k].take(load(values + i + k * width)); });
                __builtin_prefetch(values + i + pagesAhead);
                unrolled<step>([&](auto k) { running.sum += values[i + k]; });
            }
            lanes[0].merge(lanes[1]);
            RangePassOf<double> range = running;
            for (int k = 0; k < width; ++k) {
                range.min = lanes[0].min[k] < range.min ? lanes[0].min[k] : range.min;
                range.max = lanes[0].max[k] > range.max ? lanes[0].max[k] : range.max;
            }
            if ((range.min == 0.0 && running.min != 0.0) || (range.max == 0.0 && running.max != 0.0)) {
                range = running;
                for (std::int64_t i = begin; i < begin + block; ++i) range.take(values[i]);
            }
            static_cast<RangePassOf<double>&>(running) = range;
        }
        pass = running;
        return begin;
    }

    static std::int64_t divide(double* values, std::int64_t count, double divisor) {
        std::int64_t done = 0;
        for (; done + width <= count; done += width) {
            const V quotients = load(values + done) / divisor;
            std::memcpy(values + done, &quotients, sizeof quotients);
        }
        return done;
    }

    static void transpose(const double* const* from, std::int64_t column, double* const* to,
                          std::int64_t row) {
        for (int c = 0; c < kernelLanes; c += width) {
            for (int r = 0; r < kernelLanes; r += width) {
                V rows[width];
                unrolled<width>([&](auto k) { rows[k] = load(from[r + k] + column + c); });
                transposeRows(rows);
                unrolled<width>([&](auto k) { std::memcpy(to[c + k] + row + r, &rows[k], sizeof(V)); });
            }
        }
    }

    static constexpr Kernels kernels(const char* level) {
        return {level, AllPasses::table<LanesOf>(), orderedSum, divide, transpose};
    }
};

} // namespace icawave
