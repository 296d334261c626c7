// SPDX-License-Identifier: BSD-3-Clause
// Operations on a whole data set. Sums ascend in a double; channels are added in their order.
#include <icawave/TrialIcaData.h>

#include <icawave/platform/Message.h>

#include "trial/Values.h"

#include <cmath>

using icawave::valueAt;
using icawave::valueCount;

namespace {

// The samples of a channel among the data set's first m_totalSample.
auto countedSamples(const CTrialIcaData& dataSet) {
    return [total = dataSet.m_totalSample](const CChnlIcaData& channel) {
        return std::min(total, valueCount(channel));
    };
}

bool isEmpty(const CTrialIcaData& dataSet) {
    return !dataSet.m_chnlIcaData || dataSet.m_totalSample < 1 || dataSet.m_chnlTotal < 1;
}

} // namespace

std::int32_t CTrialIcaData02Prcs::normRMS() {
    if (isEmpty(*this)) return 0;
    const auto counted = countedSamples(*this);
    double total = 0.0;
    icawave::passOverChannels(
        m_chnlIcaData, m_chnlTotal, 0, counted, [](const CChnlIcaData&) { return icawave::SquaresPass(); },
        [&](const CChnlIcaData&, const icawave::SquaresPass& pass) { total += pass.squares; });
    const double rms = std::sqrt(total / static_cast<double>(m_chnlTotal));
    if (!(rms > 0.0)) {
        AfxMessageBox("RMS value in leadfields is smaller than zero!?");
        return 0;
    }
    for (std::int64_t k = 0; k < m_chnlTotal; ++k)
        icawave::divide(m_chnlIcaData[k].m_data, counted(m_chnlIcaData[k]), rms);
    m_normRMS = rms;
    m_normalized = 1;
    return 1;
}

// One ascending chain over everything.
std::int32_t CTrialIcaData02Prcs::checkDataRange() {
    if (isEmpty(*this)) return 0;
    icawave::RangeAndSumPass pass(valueAt(m_chnlIcaData[0], 0));
    for (std::int64_t k = 0; k < m_chnlTotal; ++k) {
        const std::int64_t n = countedSamples(*this)(m_chnlIcaData[k]);
        const double* values = m_chnlIcaData[k].m_data;
        icawave::takeValues(values, icawave::kernels().orderedSum(values, 0, n, pass), n, pass);
        if (n < m_totalSample) pass.take(0.0); // the samples that are missing
    }
    m_dataMin = pass.min;
    m_dataMax = pass.max;
    m_dataMean = pass.sum / static_cast<double>(m_chnlTotal);
    return 1;
}

CString CTrialIcaData02Prcs::getStatistics() {
    std::optional<icawave::RangePass> range;
    double means = 0.0, magnitudes = 0.0, roots = 0.0;
    const std::int64_t channels = m_chnlIcaData ? std::max<std::int64_t>(m_chnlTotal, 0) : 0;
    icawave::passOverChannels(
        m_chnlIcaData, channels, 0, valueCount,
        [](const CChnlIcaData& channel) { return icawave::StatisticsPass(valueAt(channel, 0)); },
        [&](const CChnlIcaData& channel, const icawave::StatisticsPass& pass) {
            icawave::mergeInto(range, pass);
            const auto n = static_cast<double>(std::max<std::int64_t>(valueCount(channel), 1));
            means += pass.sum / n;
            magnitudes += pass.magnitudes / n;
            roots += std::sqrt(pass.squares / n);
        });
    const double count = channels < 1 ? 1.0 : static_cast<double>(channels); // no channels: zeros
    m_dataMin = range ? range->min : 0.0;
    m_dataMax = range ? range->max : 0.0;
    m_dataMean = means / count;
    return CString::Format(u"%s Min: %f\tMean: %f Max: %f AbsSum: %f RmsSum: %f \n", m_icaName, m_dataMin,
                           m_dataMean, m_dataMax, magnitudes / count, std::sqrt(roots / count));
}

std::int32_t CTrialIcaData02Prcs::zeroSelection() {
    if (isEmpty(*this)) return 0;
    const std::int64_t begin = std::max<std::int64_t>(m_selectBegin, 0);
    for (std::int64_t k = 0; k < m_chnlTotal; ++k) {
        const std::int64_t held = valueCount(m_chnlIcaData[k]);
        const std::int64_t stop = m_selectEnd < held ? m_selectEnd + 1 : held;
        if (begin < stop) std::fill(m_chnlIcaData[k].m_data + begin, m_chnlIcaData[k].m_data + stop, 0.0);
    }
    return 1;
}

std::int32_t CTrialIcaData02Prcs::zeroDiagonal() {
    if (isEmpty(*this)) return 0;
    m_icaCmptInfo += u"\nSet Diagonal value to 0";
    return 1;
}

std::int32_t CTrialIcaData02Prcs::setAnaLatency(double begin, double end) {
    m_anaLatencyBegin = begin;
    m_anaLatencyEnd = end;
    return 1;
}

std::int32_t CTrialIcaData02Prcs::getAnaLatency(double& begin, double& end) {
    begin = m_anaLatencyBegin;
    end = m_anaLatencyEnd;
    return 1;
}

std::int32_t CTrialIcaData02Prcs::setChnlTotal(std::int64_t n) {
    m_chnlTotal = n;
    if (m_selectIca >= n) m_selectIca = icawave::wrapSubtract(n, 1);
    return 1;
}

std::int32_t CTrialIcaData02Prcs::getChnlTotal() {
    return static_cast<std::int32_t>(m_chnlTotal);
}

std::int32_t CTrialIcaData02Prcs::resetSnsCoh() {
    m_chnlTotal = m_selectIca = 0;
    return setAnaLatency(0.0, 0.0);
}

std::int32_t CTrialIcaData02Prcs::setColumnCrt(std::int32_t column) {
    return std::max(column, 0);
}
