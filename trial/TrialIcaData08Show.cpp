// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/TrialIcaData.h>

#include "trial/Values.h"

using icawave::wrapAdd;
using icawave::wrapSubtract;

std::int32_t CTrialIcaData08Show::getIcaAbsRange(double& min, double& max, bool, bool select,
                                                 std::int64_t begin, std::int64_t end) {
    min = max = 0.0;
    if (!m_chnlIcaData) return 0;
    if (select) {
        if (begin == -1) begin = m_selectBegin;
        if (end == -1) end = m_selectEnd;
        if (begin < 0 || end < 0 || begin >= m_totalSample || end >= m_totalSample) return 0;
    } else {
        begin = 0;
        end = wrapSubtract(std::max<std::int64_t>(m_totalSample, 0), 1);
    }
    const auto range = icawave::rangeOf<icawave::MagnitudeRangePass>(*this, begin, end, false);
    m_absMin = min = range ? range->min : 0.0;
    m_absMax = max = range ? range->max : 0.0;
    m_absMid = (min + max) * 0.5;
    return 1;
}

std::int64_t CTrialIcaData08Show::nextSelect(std::int32_t step, std::int32_t wrap) {
    const std::int64_t total = m_totalSample;
    const std::int64_t oldEnd = std::max(m_selectEnd, m_selectBegin);
    const std::int64_t length = wrapSubtract(oldEnd, m_selectBegin); // from the first to the last sample
    std::int64_t begin = wrapAdd(m_selectBegin, step);
    std::int64_t end = wrapAdd(oldEnd, step);
    if (begin < 0) { // moved before the start
        if (wrap != 0) {
            begin = wrapSubtract(wrapSubtract(total, length), 1);
            end = wrapSubtract(total, 1);
        } else {
            begin = 0;
            end = length >= total ? wrapSubtract(total, 1) : length;
        }
    }
    if (end >= total) { // moved past the end
        if (wrap != 0) {
            begin = 0;
            end = length;
        } else {
            end = wrapSubtract(total, 1);
            begin = std::max<std::int64_t>(wrapSubtract(end, length), 0);
        }
    }
    m_selectBegin = begin;
    m_selectEnd = std::max(begin, end);
    return begin;
}

CString CTrialIcaData08Show::getChnlTypeIDname() {
    switch (m_chnlTypeID) {
    case 0:
        return u"All Type";
    case 1:
        return u"MEG Sensor";
    case 2:
        return u"EEG Sensor";
    default:
        return u"Unknown";
    }
}

CString CTrialIcaData08Show::getIcaCmptInfo() {
    return m_icaCmptInfo;
}

std::int32_t CTrialIcaData08Show::hideSelectIca() {
    if (!m_chnlIcaData || m_chnlTotal < 1) return 0;
    checCorrectkSelectIca();
    m_chnlIcaData[m_selectIca].m_show = 0;
    return 1;
}

std::int64_t CTrialIcaData08Show::deleteSelect() {
    if (!m_chnlIcaData || m_chnlTotal < 1) return 0;
    if (m_selectIca >= m_chnlTotal) return m_selectIca = m_chnlTotal - 1;
    m_selectIca = std::max<std::int64_t>(m_selectIca, 0);
    return m_chnlTotal;
}

std::int32_t CTrialIcaData08Show::findSelectCxC(std::int32_t) {
    return 0;
}
