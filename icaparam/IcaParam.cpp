// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/IcaParam.h>

#include <icawave/platform/Message.h>

std::int32_t CIcaParam::clean() {
    m_extraMatrixA.cleanMatrixData();
    m_extraMatrixB.cleanMatrixData();
    m_Wunmix.cleanMatrixData();
    m_Wsecond.cleanMatrixData();
    m_extraUintList.RemoveAll();
    m_nIca = m_nComp = m_nSample = 0;
    m_extraIntA = m_extraIntB = 0;
    return 1;
}

std::int32_t CIcaParam::addIcaParam(std::int32_t nIca, std::int32_t nComp, std::int32_t nSample,
                                    const double* const* Wunmix, const double* const* Wsecond) {
    CMMatrix2Dzq second; // made aside: its rows may be those of m_Wunmix
    second.copyAmxn(Wsecond, nComp, nComp);
    m_Wunmix.copyAmxn(Wunmix, nComp, nComp);
    m_Wsecond.swap(second);
    m_nIca = nIca;
    m_nComp = nComp;
    m_nSample = nSample;
    return 1;
}

std::int32_t CIcaParam::hasWunmix() {
    const auto rows = static_cast<std::int32_t>(m_Wunmix.getRow());
    const auto columns = static_cast<std::int32_t>(m_Wunmix.getCol());
    if (m_nComp < 1 || m_nIca < 1 || rows < 1 || columns < 1 || !m_Wunmix.getDataPP()) return 0;
    if (rows == m_nComp && rows == columns) return 1;
    AfxMessageBox("ICA Wunmix has wrong parameter nR != nComp");
    return 0;
}
