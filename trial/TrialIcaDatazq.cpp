// SPDX-License-Identifier: BSD-3-Clause
// Reductions: adding another data set, and collapsing the time axis.
#include <icawave/TrialIcaData.h>

#include "platform/Alloc.h"
#include "trial/Values.h"

#include <memory>

using icawave::valueCount;

std::int32_t CTrialIcaDatazq::sumDatSetSns(const CTrialIcaDatazq& other) {
    if (!other.m_chnlIcaData || other.m_chnlTotal < 1 || !m_chnlIcaData || m_chnlTotal < 1) return 0;
    if (!verifyWavIcaDataSize(other.m_chnlTotal, other.m_totalSample)) return 0;
    for (std::int64_t k = 0; k < m_chnlTotal; ++k) {
        double* sums = m_chnlIcaData[k].m_data;
        const double* values = other.m_chnlIcaData[k].m_data;
        const std::int64_t n = std::min(valueCount(m_chnlIcaData[k]), valueCount(other.m_chnlIcaData[k]));
        for (std::int64_t i = 0; i < n; ++i) sums[i] += values[i];
    }
    return 1;
}

std::int32_t CTrialIcaDatazq::accumulateTime1() {
    if (!m_chnlIcaData || m_chnlTotal < 1 || m_totalSample < 1) return 0;
    std::unique_ptr<CChnlIcaDatazq[]> means(icawave::newArray<CChnlIcaDatazq>(m_chnlTotal));
    if (!means) return 0;
    bool complete = true;
    CChnlIcaDatazq* next = means.get();
    icawave::passOverChannels(
        m_chnlIcaData, m_chnlTotal, 0,
        [this](const CChnlIcaData& channel) { return std::min(m_totalSample, valueCount(channel)); },
        [](const CChnlIcaData&) { return icawave::SumPass(); },
        [&](const CChnlIcaData& channel, const icawave::SumPass& pass) {
            CChnlIcaDatazq& mean = *next++;
            if (!mean.checkInitData(1, true)) {
                complete = false;
                return;
            }
            mean.m_data[0] = pass.sum / static_cast<double>(m_totalSample);
            mean.m_chnlTag = channel.m_chnlTag;
            complete = mean.bkDataIn() && complete;
        });
    if (!complete) return 0;
    delete[] m_chnlIcaData;
    m_chnlIcaData = means.release();
    m_totalSample = 1;
    m_selectBegin = m_selectEnd = 0;
    return 1;
}
