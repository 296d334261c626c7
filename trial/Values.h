// SPDX-License-Identifier: BSD-3-Clause
// What the operations on loaded data sets share: index arithmetic that cannot overflow, and values that are
// really there.
#pragma once

#include <icawave/TrialIcaData.h>

#include "kernels/Passes.h"

#include <algorithm>
#include <optional>

namespace icawave {

// Loaded indices may be anything; sums and differences wrap.
inline std::int64_t wrapAdd(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}
inline std::int64_t wrapSubtract(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}

// Below 0 becomes 0; at or past the count becomes count - 1 (-1 for a count of 0).
inline std::int64_t clampIndex(std::int64_t index, std::int64_t count) {
    index = std::max<std::int64_t>(index, 0);
    return index >= count ? wrapSubtract(count, 1) : index;
}

// The values that a channel really holds, whatever a file said.
inline std::int64_t valueCount(const CChnlIcaData& channel) {
    return channel.m_data ? std::max<std::int64_t>(channel.m_size, 0) : 0;
}

inline double valueAt(const CChnlIcaData& channel, std::int64_t sample) {
    return sample >= 0 && sample < valueCount(channel) ? channel.m_data[sample] : 0.0;
}

// Runs a pass, made by `start(channel)`, over samples begin ... stop(channel) - 1 of channels 0 ... count - 1
// and hands each result over in channel order. Neighbouring channels whose ranges of samples are equal, as in
// all consistent data, are passed over together.
template <class Stop, class Start, class Use>
void passOverChannels(const CChnlIcaDatazq* channels, std::int64_t count, std::int64_t begin, Stop stop,
                      Start start, Use use) {
    decltype(start(channels[0])) passes[kernelLanes];
    const double* values[kernelLanes];
    for (std::int64_t k = 0; k < count;) {
        const std::int64_t end = stop(channels[k]);
        int size = 0;
        while (size < kernelLanes && k + size < count && stop(channels[k + size]) == end) {
            values[size] = channels[k + size].m_data;
            passes[size] = start(channels[k + size]);
            ++size;
        }
        takeSideBySide(values, size, begin, end, passes);
        for (int lane = 0; lane < size; ++lane) use(channels[k + lane], passes[lane]);
        k += size;
    }
}

// A range over several channels: the first one starts it.
inline void mergeInto(std::optional<RangePass>& range, const RangePass& pass) {
    if (range)
        range->merge(pass);
    else
        range = pass;
}

// The range of samples begin ... end of all channels that have a buffer, as one ascending pass would find it;
// nothing when there is no such sample. A sample that a buffer lacks is 0.0. The pass of every channel starts
// from the first channel's first value, not from its own: were that a NaN, it would stay the range.
template <class Pass>
std::optional<Pass> rangeOf(const CTrialIcaData& dataSet, std::int64_t begin, std::int64_t end,
                            bool withoutBuffer) {
    if (!dataSet.m_chnlIcaData || begin > end) return std::nullopt;
    const auto counts = [&](const CChnlIcaData& channel) { return withoutBuffer || channel.m_data; };
    const CChnlIcaDatazq* const channels = dataSet.m_chnlIcaData;
    const CChnlIcaDatazq* const last = channels + std::max<std::int64_t>(dataSet.m_chnlTotal, 0);
    const CChnlIcaDatazq* const first = std::find_if(channels, last, counts);
    if (first == last) return std::nullopt;
    Pass range(valueAt(*first, begin));
    const Pass start = range;
    passOverChannels(
        first, last - first, begin,
        [&](const CChnlIcaData& channel) { return std::max(begin, std::min(end + 1, valueCount(channel))); },
        [&](const CChnlIcaData&) { return start; },
        [&](const CChnlIcaData& channel, const Pass& pass) {
            range.merge(pass);
            if (counts(channel) && end >= valueCount(channel)) range.take(0.0);
        });
    return range;
}

} // namespace icawave
