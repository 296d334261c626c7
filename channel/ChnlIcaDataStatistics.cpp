// SPDX-License-Identifier: BSD-3-Clause
// Summary values of one channel. Sums ascend in a double.
#include <icawave/ChnlIcaData.h>

#include "kernels/Passes.h"

namespace {

bool hasValues(const CChnlIcaData& channel) {
    return channel.m_data && channel.m_size >= 1;
}

template <class Pass>
Pass passOver(const CChnlIcaData& channel, Pass pass, std::int64_t begin, std::int64_t stop) {
    icawave::takeValues(channel.m_data, begin, stop, pass);
    return pass;
}

} // namespace

double CChnlIcaData::getValueMax() {
    return hasValues(*this) ? passOver(*this, icawave::RangePass(m_data[0]), 1, m_size).max : 0.0;
}

std::int32_t CChnlIcaData::allValueNonZero() {
    return hasValues(*this) && std::find(m_data, m_data + m_size, 0.0) == m_data + m_size ? 1 : 0;
}

// Horner's rule from the highest coefficient.
double CChnlIcaData::polynmlEval(double x) {
    if (!hasValues(*this)) return 0.0;
    double result = m_data[m_size - 1];
    for (std::int64_t i = m_size - 2; i >= 0; --i) result = result * x + m_data[i];
    return result;
}

std::int32_t CChnlIcaData::normSumSqrt() {
    if (!hasValues(*this)) return 0;
    const double mean = passOver(*this, icawave::StatisticsPass(m_data[0]), 0, m_size).magnitudes /
                        static_cast<double>(m_size);
    if (!(mean > 0.0)) return 0; // a NaN is not, either
    icawave::divide(m_data, m_size, mean);
    return 1;
}

std::int32_t CChnlIcaData::getDataRange(double& min, double& mean, double& max) {
    min = mean = max = 0.0;
    if (!m_data) return 0;
    if (m_size < 1) return 1;
    icawave::RangeAndSumPass pass(m_data[0]);
    pass.sum = m_data[0];
    pass = passOver(*this, pass, 1, m_size);
    min = pass.min;
    max = pass.max;
    mean = pass.sum / static_cast<double>(m_size);
    return 1;
}

std::int32_t CChnlIcaData::getStatistic(double& min, double& mean, double& max, double& mean2,
                                        double& absMean, double& rms) {
    min = mean = max = mean2 = absMean = rms = 0.0;
    if (!m_data) return 0;
    if (m_size < 1) return 1;
    const auto n = static_cast<double>(m_size);
    icawave::StatisticsPass pass(m_data[0]);
    pass.sum = -0.0; // adding the first value to it gives that value, whatever its sign
    pass = passOver(*this, pass, 0, m_size);
    min = pass.min;
    max = pass.max;
    mean = pass.sum / n;
    mean2 = (0.0 + pass.sum) / n; // as if the sum had begun with 0.0: no negative zero
    absMean = pass.magnitudes / n;
    rms = std::sqrt(pass.squares / n);
    return 1;
}

double CChnlIcaData::getSelectDataMean(std::int64_t begin, std::int64_t end, std::int32_t mode) {
    if (!hasValues(*this)) return 0.0;
    begin = std::clamp<std::int64_t>(begin, 0, m_size - 1);
    end = std::clamp<std::int64_t>(end, 0, m_size - 1);
    if (mode == 0) {
        if (begin > end) return 0.0;
        return passOver(*this, icawave::SumPass(), begin, end + 1).sum / static_cast<double>(end - begin + 1);
    }
    if (mode != 1) return 0.0;
    const auto range = passOver(*this, icawave::RangePass(m_data[begin]), begin + 1, end + 1);
    return std::fabs(range.max) > std::fabs(range.min) ? range.max : range.min;
}
