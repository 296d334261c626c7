// Passes over the values of channels: what is computed, and how channels run side by side.
//
// An in-order sum waits for each addition to finish before the next may begin. Channels do not depend on one
// another, so several go together while each keeps its own ascending order: the same bits as one after the
// other, several times as fast.
#pragma once

#include <icawave/ChnlIcaData.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace icawave {

// The values that a channel really holds, whatever a file said.
inline std::int64_t heldValues(const CChnlIcaData& channel) {
    return channel.m_data ? std::max<std::int64_t>(channel.m_size, 0) : 0;
}

// A running minimum and maximum: a value replaces what it is strictly below or above. So a NaN that starts it
// stays, one that comes later is passed over, and of two zeros the first stays.
struct RangePass {
    static constexpr int lanes = 4;

    RangePass() = default;
    explicit RangePass(double first) : min(first), max(first) {}
    void take(double value) {
        min = value < min ? value : min;
        max = value > max ? value : max;
    }
    void merge(const RangePass& other) {
        min = other.min < min ? other.min : min;
        max = other.max > max ? other.max : max;
    }

    double min = 0.0;
    double max = 0.0;
};

struct MagnitudeRangePass : RangePass {
    MagnitudeRangePass() = default;
    explicit MagnitudeRangePass(double first) : RangePass(std::fabs(first)) {}
    void take(double value) { RangePass::take(std::fabs(value)); }
};

struct SumPass {
    static constexpr int lanes = 8;

    void take(double value) { sum += value; }

    double sum = 0.0;
};

struct SquaresPass {
    static constexpr int lanes = 8;

    void take(double value) { squares += value * value; }

    double squares = 0.0;
};

struct RangeAndSumPass : RangePass {
    RangeAndSumPass() = default;
    explicit RangeAndSumPass(double first) : RangePass(first) {}
    void take(double value) {
        RangePass::take(value);
        sum += value;
    }

    double sum = 0.0;
};

struct StatisticsPass : RangeAndSumPass {
    static constexpr int lanes = 2; // five running values each fill the registers

    StatisticsPass() = default;
    explicit StatisticsPass(double first) : RangeAndSumPass(first) {}
    void take(double value) {
        RangeAndSumPass::take(value);
        magnitudes += std::fabs(value);
        squares += value * value;
    }

    double magnitudes = 0.0;
    double squares = 0.0;
};

// Takes the values of `lanes` channels from `begin` to before `stop`, side by side.
template <int lanes, class Pass>
void takeSideBySide(const CChnlIcaData* const* channels, std::int64_t begin, std::int64_t stop,
                    Pass* passes) {
    const double* values[lanes];
    for (int lane = 0; lane < lanes; ++lane) values[lane] = channels[lane]->m_data;
    for (std::int64_t i = begin; i < stop; ++i) {
        for (int lane = 0; lane < lanes; ++lane) passes[lane].take(values[lane][i]);
    }
}

} // namespace icawave
