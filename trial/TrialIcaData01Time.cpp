// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/TrialIcaData.h>

#include <icawave/platform/Message.h>

#include "trial/Values.h"

std::int32_t CTrialIcaData01Time::setIcaShow(bool show) {
    m_icaShow = show;
    return 1;
}

std::int32_t CTrialIcaData01Time::getIcaShow(bool& show) {
    show = m_icaShow;
    return m_icaShow ? 1 : 0;
}

std::int64_t CTrialIcaData01Time::getTotalSample() {
    if (!m_chnlIcaData) return -1;
    if (m_chnlTotal < 1) return m_totalSample; // no channel to compare with
    checCorrectkSelectIca();
    const std::int64_t size = m_chnlIcaData[m_selectIca].m_size;
    if (size != m_totalSample) {
        AfxMessageBox("Ic data points error!");
        m_totalSample = size;
    }
    return m_totalSample;
}

std::int64_t CTrialIcaData01Time::getIcaChnlTotal() {
    return m_chnlIcaData ? m_chnlTotal : 0;
}

CChnlIcaDatazq* CTrialIcaData01Time::getChnlIcaData() {
    return m_chnlIcaData;
}

std::int64_t CTrialIcaData01Time::setSelect(std::int64_t begin, std::int64_t end) {
    m_selectBegin = icawave::clampIndex(begin, m_totalSample);
    m_selectEnd = icawave::clampIndex(std::max(end, m_selectBegin), m_totalSample);
    return icawave::wrapAdd(icawave::wrapSubtract(m_selectEnd, m_selectBegin), 1);
}

std::int64_t CTrialIcaData01Time::getSelect(std::int64_t& begin, std::int64_t& end) {
    begin = m_selectBegin;
    end = m_selectEnd;
    return icawave::wrapAdd(icawave::wrapSubtract(end, begin), 1);
}

std::int32_t CTrialIcaData01Time::checkSelect(std::int64_t begin, std::int64_t end) {
    if (!m_chnlIcaData || m_totalSample < 1) return 0;
    return begin >= 0 && begin < m_totalSample && end >= 0 && end < m_totalSample ? 1 : 0;
}

double* CTrialIcaData01Time::getDataWave(std::int32_t ica) {
    const std::int64_t channel = ica == -1 ? m_selectIca : ica;
    if (!m_chnlIcaData || channel < 0 || channel >= m_chnlTotal) return nullptr;
    return m_chnlIcaData[channel].m_data;
}

std::int32_t CTrialIcaData01Time::resetIcaTimeInfo() {
    return 0;
}
