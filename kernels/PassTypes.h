// SPDX-License-Identifier: BSD-3-Clause
// What passes over values compute, and the one list of them. T is a double, or a register of doubles that
// belong to different arrays. All members of a pass are Ts.
#pragma once

#include <cmath>
#include <cstdint>
#include <tuple>

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
    MagnitudeRangePassOf() = default;
    explicit MagnitudeRangePassOf(T first) : RangePassOf<T>(magnitude(first)) {}
    void take(T value) { RangePassOf<T>::take(magnitude(value)); }
};

template <class T>
struct SumPassOf {
    void take(T value) { sum += value; }

    T sum{};
};

template <class T>
struct SquaresPassOf {
    void take(T value) { squares += value * value; }

    T squares{};
};

template <class T>
struct RangeAndSumPassOf : RangePassOf<T> {
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

using RangePass = RangePassOf<double>;
using MagnitudeRangePass = MagnitudeRangePassOf<double>;
using SumPass = SumPassOf<double>;
using SquaresPass = SquaresPassOf<double>;
using RangeAndSumPass = RangeAndSumPassOf<double>;
using StatisticsPass = StatisticsPassOf<double>;

// Takes values begin, begin + 1, ... of several arrays, each in ascending order, while they fill whole
// registers; returns the index of the first value not taken.
template <class Pass>
using PassKernel = std::int64_t (*)(const double* const* values, std::int64_t begin, std::int64_t stop,
                                    Pass* passes);

template <template <class> class... PassOf>
struct PassList {
    using Table = std::tuple<PassKernel<PassOf<double>>...>;

    // The functions of one instruction set, one for each pass.
    template <class Lanes>
    static constexpr Table table() {
        return {Lanes::template take<PassOf>...};
    }
    // f.operator()<Pass>() for each pass of doubles.
    template <class F>
    static void forEach(F f) {
        (f.template operator()<PassOf<double>>(), ...);
    }

private:
    // Lanes copy a pass as if it were an array of T. With a T of three bytes, a size that none of the other
    // types has, a member of another type changes the size of the pass.
    struct Probe {
        char bytes[3];
    };
    static_assert(((sizeof(PassOf<Probe>) * sizeof(double) == sizeof(PassOf<double>) * sizeof(Probe)) && ...),
                  "every member of a pass is a T");
};
using AllPasses = PassList<RangePassOf, MagnitudeRangePassOf, SumPassOf, SquaresPassOf, RangeAndSumPassOf,
                           StatisticsPassOf>;

} // namespace icawave
