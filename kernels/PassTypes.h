// SPDX-License-Identifier: BSD-3-Clause
// What passes over values compute. T is a double, or a register of doubles that belong to different channels.
#pragma once

#include "kernels/Kernels.h"

#include <cmath>
#include <cstdint>
#include <cstring>

namespace icawave {

template <class T>
T magnitude(T value) {
    if constexpr (sizeof value == sizeof(double)) {
        return std::fabs(value);
    } else { // without the sign bits
        typedef std::int64_t Bits __attribute__((vector_size(sizeof(T))));
        return (T)((Bits)value & INT64_MAX);
    }
}

// A running minimum and maximum: a value replaces what it is strictly below or above. So a NaN that starts it
// stays, one that comes later is passed over, and of two zeros the first stays.
template <class T>
struct RangePassOf {
    static constexpr auto kernel = &Kernels::range;

    RangePassOf() = default;
    explicit RangePassOf(T first) : min(first), max(first) {}
    void take(T value) {
        min = value < min ? value : min;
        max = value > max ? value : max;
    }
    void merge(const RangePassOf& other) {
        min = other.min < min ? other.min : min;
        max = other.max > max ? other.max : max;
    }

    T min{};
    T max{};
};

template <class T>
struct MagnitudeRangePassOf : RangePassOf<T> {
    static constexpr auto kernel = &Kernels::magnitudeRange;

    MagnitudeRangePassOf() = default;
    explicit MagnitudeRangePassOf(T first) : RangePassOf<T>(magnitude(first)) {}
    void take(T value) { RangePassOf<T>::take(magnitude(value)); }
};

template <class T>
struct SumPassOf {
    static constexpr auto kernel = &Kernels::sum;

    void take(T value) { sum += value; }

    T sum{};
};

template <class T>
struct SquaresPassOf {
    static constexpr auto kernel = &Kernels::squares;

    void take(T value) { squares += value * value; }

    T squares{};
};

template <class T>
struct RangeAndSumPassOf : RangePassOf<T> {
    static constexpr auto kernel = &Kernels::rangeAndSum;

    RangeAndSumPassOf() = default;
    explicit RangeAndSumPassOf(T first) : RangePassOf<T>(first) {}
    void take(T value) {
        RangePassOf<T>::take(value);
        sum += value;
    }

    T sum{};
};

template <class T>
struct StatisticsPassOf : RangeAndSumPassOf<T> {
    static constexpr auto kernel = &Kernels::statistics;

    StatisticsPassOf() = default;
    explicit StatisticsPassOf(T first) : RangeAndSumPassOf<T>(first) {}
    void take(T value) {
        RangeAndSumPassOf<T>::take(value);
        magnitudes += magnitude(value);
        squares += value * value;
    }

    T magnitudes{};
    T squares{};
};

} // namespace icawave
