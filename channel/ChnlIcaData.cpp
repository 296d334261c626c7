// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/ChnlIcaData.h>

#include <icawave/platform/Message.h>

#include "platform/Alloc.h"

#include <algorithm>

namespace {

void release(double*& buffer, std::int64_t& size) {
    delete[] buffer;
    buffer = nullptr;
    size = 0;
}

// The default texts are made once and shared by all objects.
const CString& defaultChannelName() {
    static const CString name = u"ICA";
    return name;
}

const CString& defaultItemName() {
    static const CString name = u"IcPrj";
    return name;
}

} // namespace

CIcProjectData::CIcProjectData() : m_prjName(defaultItemName()) {}

CIcProjectData::~CIcProjectData() {
    release(m_data, m_size);
    release(m_bkData, m_bkSize);
}

CChnlIcaData::CChnlIcaData() : m_chnlName(defaultChannelName()) {}

CChnlIcaData::~CChnlIcaData() {
    cleanData();
    cleanbkData();
    cleanProjectData();
}

double* CChnlIcaData::checkInitData(std::int64_t n, bool zero) {
    if (n != m_size || !m_data) {
        cleanData();
        m_data = icawave::newArray<double>(n);
        if (!m_data) return nullptr;
        m_size = n;
    }
    if (zero) std::fill_n(m_data, n, 0.0);
    return m_data;
}

std::int32_t CChnlIcaData::copy2Mtx(const double* src, std::int64_t n) {
    if (n != m_size && icawave::pointsInto(src, m_data, m_size)) { // sizing would release what is copied
        double* copy = icawave::newArray<double>(n);
        if (copy) copy_(copy, src, n);
        setData(copy, copy ? n : 0);
        return copy ? 1 : 0;
    }
    if (!checkInitData(n, false)) return 0;
    copy_(m_data, src, n);
    return 1;
}

std::int32_t CChnlIcaData::resize(std::int64_t n) {
    if (n <= 0) return cleanData();
    if (!m_data || m_size < 1) return checkInitData(n, true) ? 1 : 0;
    double* resized = icawave::newArray<double>(n);
    if (!resized) return 0;
    const std::int64_t kept = std::min(n, m_size);
    copy_(resized, m_data, kept);
    std::fill(resized + kept, resized + n, 0.0);
    return setData(resized, n);
}

std::int32_t CChnlIcaData::setData(double* p, std::int64_t n) {
    if (p && p == m_bkData) { // handed over; nothing has two owners
        m_bkData = nullptr;
        m_bkSize = 0;
    }
    if (p != m_data) cleanData();
    m_data = p;
    m_size = n;
    m_currentPt = 0;
    return 1;
}

std::int32_t CChnlIcaData::deRefData() {
    m_data = nullptr;
    m_size = 0;
    return 1;
}

std::int32_t CChnlIcaData::cleanData() {
    release(m_data, m_size);
    m_currentPt = 0;
    return 1;
}

std::int32_t CChnlIcaData::bkDataIn() {
    if (m_bkSize != m_size) cleanbkData();
    if (m_size < 1 || !m_data) return 0;
    if (!m_bkData) {
        m_bkData = icawave::newArray<double>(m_size);
        m_bkSize = m_bkData ? m_size : 0;
        if (!m_bkData) return 0;
    }
    copy_(m_bkData, m_data, m_size);
    return 1;
}

std::int32_t CChnlIcaData::bkDataInOut() {
    if (m_bkSize < 1 || !m_bkData) return 0;
    if (m_size != m_bkSize) cleanData();
    if (!m_data) {
        m_data = icawave::newArray<double>(m_bkSize);
        if (!m_data) {
            AfxMessageBox("Not enough memory!");
            return 0;
        }
        m_size = m_bkSize;
    }
    copy_(m_data, m_bkData, m_bkSize);
    m_currentPt = std::clamp<std::int64_t>(m_currentPt, 0, m_size - 1);
    return 1;
}

std::int32_t CChnlIcaData::cleanbkData() {
    release(m_bkData, m_bkSize);
    return 1;
}

std::int32_t CChnlIcaData::cleanProjectData() {
    delete[] m_projectData;
    m_projectData = nullptr;
    m_projectCount = 0;
    m_projectCurrent = -1;
    return 1;
}

void CChnlIcaData::set_(double* first, double* last, const double& value) {
    std::fill(first, last, value);
}

void CChnlIcaData::copy_(double* dst, const double* src, std::int64_t n) const {
    for (std::int64_t i = 0; i < n; ++i) dst[i] = src[i];
}
