// SPDX-License-Identifier: BSD-3-Clause
// Values, ranges, and the conversion between channels and one vector for each time point.
#include <icawave/TrialIcaData.h>

#include "kernels/Transpose.h"
#include "platform/Alloc.h"
#include "trial/Values.h"

using icawave::clampIndex;
using icawave::valueAt;
using icawave::valueCount;

double CTrialIcaData::getValue(std::int64_t pt, std::int64_t ica) {
    if (ica == -1) ica = m_selectIca;
    if (!m_chnlIcaData || ica < 0 || ica >= m_chnlTotal) return 0.0;
    if (pt == -1) pt = m_selectBegin;
    return valueAt(m_chnlIcaData[ica], clampIndex(pt, m_totalSample));
}

double CTrialIcaData::getValueSelect(std::int64_t begin, std::int64_t end, std::int64_t ica) {
    if (ica == -1) ica = m_selectIca;
    if (!m_chnlIcaData || ica < 0 || ica >= m_chnlTotal) return 0.0;
    begin = clampIndex(begin == -1 ? m_selectBegin : begin, m_totalSample);
    end = clampIndex(end == -1 ? m_selectEnd : end, m_totalSample);
    if (begin > end || m_totalSample < 1) return 0.0;
    const CChnlIcaDatazq& channel = m_chnlIcaData[ica];
    const std::int64_t stop = std::min(end + 1, valueCount(channel));
    double sum = 0.0;
    for (std::int64_t i = begin; i < stop; ++i) sum += channel.m_data[i];
    return sum / static_cast<double>(end - begin + 1);
}

std::int32_t CTrialIcaData::getIcaDataRange(double& min, double& max, bool select, std::int64_t begin,
                                            std::int64_t end) {
    min = max = 0.0;
    if (!m_chnlIcaData) return 0;
    if (begin == -1) begin = m_selectBegin;
    if (end == -1) end = m_selectEnd;
    if (begin < 0 || end < 0 || begin >= m_totalSample || end >= m_totalSample) return 0;

    if (select) {
        const std::optional<icawave::RangePass> range =
            icawave::rangeOf<icawave::RangePass>(*this, begin, end, true);
        min = range ? range->min : 0.0;
        max = range ? range->max : 0.0;
        return 1;
    }
    std::optional<icawave::RangePass> range;
    double total = 0.0;
    icawave::passOverChannels(
        m_chnlIcaData, m_chnlTotal, 0, valueCount,
        [](const CChnlIcaData& channel) { return icawave::RangeAndSumPass(valueAt(channel, 0)); },
        [&](const CChnlIcaData&, const icawave::RangeAndSumPass& pass) {
            icawave::mergeInto(range, pass);
            total += pass.sum;
        });
    m_dataMin = min = range ? range->min : 0.0;
    m_dataMax = max = range ? range->max : 0.0;
    m_dataMean = m_chnlTotal < 1 ? 0.0 : total / static_cast<double>(m_chnlTotal);
    return 1;
}

std::int32_t CTrialIcaData::getData2MCohTimSnsSns(CMMatrix1Dzq*& mtx, std::int64_t& count) {
    if (!m_chnlIcaData) return 0;
    if (!mtx) {
        // A sample count from a damaged file costs no more than the channels justify.
        std::int64_t longest = 0;
        for (std::int64_t k = 0; k < m_chnlTotal; ++k)
            longest = std::max(longest, valueCount(m_chnlIcaData[k]));
        mtx = m_totalSample <= longest ? icawave::newArray<CMMatrix1Dzq>(m_totalSample) : nullptr;
        if (!mtx) return 0;
        count = m_totalSample;
    } else if (count > m_totalSample) {
        return 0;
    }
    for (std::int64_t t = 0; t < count; ++t) {
        if (!mtx[t].checkInitData(m_chnlTotal, false)) return 0;
    }
    std::int64_t whole = 0; // channels before the first that lacks samples
    while (whole < m_chnlTotal && valueCount(m_chnlIcaData[whole]) >= count) ++whole;
    icawave::transposeRows(
        whole, count, [&](std::int64_t k) { return m_chnlIcaData[k].m_data; },
        [&](std::int64_t t) { return mtx[t].getData(); });
    for (std::int64_t k = whole; k < m_chnlTotal; ++k) {
        for (std::int64_t t = 0; t < count; ++t) mtx[t].getData()[k] = valueAt(m_chnlIcaData[k], t);
    }
    return 1;
}

std::int32_t CTrialIcaData::setData4Mica(CMMatrix1Dzq* mtx, std::int64_t nTime) {
    if (!mtx || nTime < 1) return 0;
    const std::int64_t nChnl = mtx[0].getSize();
    if (nChnl < 1) return 0;

    std::int64_t usable = 0; // vectors before the first without values
    while (usable < nTime && mtx[usable].getData() && mtx[usable].getSize() >= 1) ++usable;
    const bool complete = usable == nTime;
    const bool keepsChannels = m_chnlIcaData && verifyWavIcaDataSize(nChnl, nTime);
    if (!complete && keepsChannels) { // samples that stay unset hold what they held, or zeros in a new buffer
        for (std::int64_t k = 0; k < nChnl; ++k) {
            if (valueCount(m_chnlIcaData[k]) != nTime) m_chnlIcaData[k].checkInitData(nTime, true);
        }
    }
    if (!checkInitSnsIcaData(nChnl, nTime, !complete && !keepsChannels)) return 0;

    std::int64_t whole = 0; // vectors before the first that lacks channels
    while (whole < usable && mtx[whole].getSize() >= nChnl) ++whole;
    icawave::transposeRows(
        whole, nChnl, [&](std::int64_t t) { return mtx[t].getData(); },
        [&](std::int64_t k) { return m_chnlIcaData[k].m_data; });
    for (std::int64_t t = whole; t < usable; ++t) {
        const std::int64_t present = std::min(mtx[t].getSize(), nChnl);
        for (std::int64_t k = 0; k < nChnl; ++k)
            m_chnlIcaData[k].m_data[t] = k < present ? mtx[t].getData()[k] : 0.0;
    }
    return complete ? 1 : 0;
}

std::int32_t CTrialIcaData::addMSnsSnsTimID(CMMatrix1Dzq* vec, std::int64_t t) {
    if (!m_chnlIcaData || !vec || t < 0 || t >= m_totalSample) return 0;
    const double* values = vec->getData();
    if (!values || vec->getSize() < 1 || vec->getSize() != m_chnlTotal) return 0;
    for (std::int64_t k = 0; k < m_chnlTotal; ++k) {
        if (t < valueCount(m_chnlIcaData[k])) m_chnlIcaData[k].m_data[t] = values[k];
    }
    return 1;
}
