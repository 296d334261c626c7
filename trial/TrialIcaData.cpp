// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/TrialIcaData.h>

#include "platform/Alloc.h"
#include "trial/Values.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace {

const CString& defaultName() {
    static const CString name = u"IcaTrial";
    return name;
}

const CString& defaultComputeInfo() {
    static const CString info = u"ICA ComputeInfo";
    return info;
}

// One decomposition as a host hands it over, and the names of its channels. All that may find no memory is
// made here, before the data set changes. A host's rows may point into the data set's own values; those that
// would be overwritten or released before they are read are copied.
class Handed {
public:
    Handed(CTrialIcaData& dataSet, bool keepsChannels, std::int32_t nChnl, std::int32_t nSample,
           const double* const* data)
        : rows(data, data + std::max(nChnl, 0)) {
        if (keepsChannels && dataSet.m_chnlIcaData) {
            for (std::int64_t k = 0; k < dataSet.m_chnlTotal; ++k)
                addOwn(dataSet.m_chnlIcaData[k].m_data, dataSet.m_chnlIcaData[k].m_size);
        }
        if (dataSet.m_icaParam) {
            for (CMMatrix2Dzq* matrix : {&dataSet.m_icaParam->m_Wunmix, &dataSet.m_icaParam->m_Wsecond})
                if (matrix->getDataPP()) addOwn(matrix->getDataPP()[0], matrix->getRow() * matrix->getCol());
        }
        std::sort(m_own.begin(), m_own.end());
        names.reserve(rows.size());
        for (const double*& row : rows) {
            names.push_back(CString::Format(u"ICA%d", static_cast<std::int32_t>(names.size()) + 1));
            if (nSample > 0 && isOwn(row)) row = m_copies.emplace_back(row, row + nSample).data();
        }
    }

    std::vector<const double*> rows;
    std::vector<CString> names;

private:
    using Range = std::pair<const double*, std::int64_t>; // values, by address, and their count

    void addOwn(const double* values, std::int64_t count) {
        if (values) m_own.emplace_back(values, count);
    }
    bool isOwn(const double* row) const {
        const auto next = std::upper_bound(m_own.begin(), m_own.end(), Range(row, INT64_MAX));
        return next != m_own.begin() && icawave::pointsInto(row, next[-1].first, next[-1].second);
    }

    std::vector<Range> m_own;
    std::vector<std::vector<double>> m_copies;
};

// The first channel that cannot be sized ends it.
bool sizeChannels(CChnlIcaDatazq* channels, std::int64_t nChnl, std::int64_t nSample, bool zero) {
    for (std::int64_t k = 0; k < nChnl; ++k) {
        if (!channels[k].checkInitData(nSample, zero)) return false;
    }
    return true;
}

} // namespace

CTrialIcaData::CTrialIcaData() : m_icaName(defaultName()), m_icaCmptInfo(defaultComputeInfo()) {}

std::int32_t CTrialIcaData::checkInitSnsIcaData(std::int64_t nChnl, std::int64_t nSample, bool zero) {
    if (!verifyWavIcaDataSize(nChnl, nSample)) cleanSnsIcaData();
    if (nChnl < 1 || nSample < 1) return 0;
    if (m_chnlIcaData) {
        if (sizeChannels(m_chnlIcaData, nChnl, nSample, zero)) return 1;
        cleanSnsIcaData();
        return 0;
    }
    m_chnlIcaData = icawave::newArray<CChnlIcaDatazq>(nChnl);
    if (!m_chnlIcaData) {
        cleanSnsIcaData();
        return 0;
    }
    if (!sizeChannels(m_chnlIcaData, nChnl, nSample, zero)) {
        cleanSnsIcaData();
        return 0;
    }
    m_chnlTotal = nChnl;
    m_totalSample = nSample;
    m_selectIca = 0;
    m_selectBegin = 0;
    return 1;
}

std::int32_t CTrialIcaData::cleanSnsIcaData() {
    delete[] m_chnlIcaData;
    m_chnlIcaData = nullptr;
    m_chnlTotal = m_totalSample = m_selectIca = m_selectBegin = m_selectEnd = 0;
    return 1;
}

std::int32_t CTrialIcaData::addIcaData(std::int32_t nChnl, std::int32_t nComp, std::int32_t nSample,
                                       const double* const* W, const double* const* V,
                                       const double* const* data) {
    if (nChnl >= 1 && (!data || std::find(data, data + nChnl, nullptr) != data + nChnl)) return 0;
    const bool keepsChannels = verifyWavIcaDataSize(nChnl, nSample) != 0;
    std::optional<Handed> handed;
    if (!icawave::fitsInMemory([&] { handed.emplace(*this, keepsChannels, nChnl, nSample, data); })) return 0;
    if (!getIcaParamzq(1)) return 0;
    std::unique_ptr<CChnlIcaDatazq[]> old; // lives until the rows, which may be its, are copied
    if (!keepsChannels) old.reset(std::exchange(m_chnlIcaData, nullptr));
    m_icaParam->addIcaParam(nChnl, nComp, nSample, W, V);
    if (!checkInitSnsIcaData(nChnl, nSample, false)) return 0;
    for (std::size_t k = 0; k < handed->rows.size(); ++k) {
        m_chnlIcaData[k].copy2Mtx(handed->rows[k], nSample);
        m_chnlIcaData[k].m_chnlName = handed->names[k];
    }
    return 1;
}

CIcaParamzq* CTrialIcaData::getIcaParamzq(std::int32_t create) {
    if (!m_icaParam && create != 0) m_icaParam = new (std::nothrow) CIcaParamzq;
    return m_icaParam;
}

std::int32_t CTrialIcaData::cleanIcaParam() {
    delete m_icaParam;
    m_icaParam = nullptr;
    return 1;
}

std::int64_t CTrialIcaData::getIcaTim(std::int64_t a, std::int64_t step, std::int64_t b) {
    if (a <= b) return 1;
    if (step < 1) return 0;
    // The difference of any two indices fits 64 bits without a sign.
    const std::uint64_t difference = static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b);
    const auto width = static_cast<std::uint64_t>(step);
    return static_cast<std::int64_t>(1 + difference / width + (difference % width != 0 ? 1 : 0));
}

std::int32_t CTrialIcaData::verifyWavIcaDataSize(std::int64_t nChnl, std::int64_t nSample) {
    return nChnl == m_chnlTotal && nSample == m_totalSample ? 1 : 0;
}

double CTrialIcaData::getLatency4PtSecond(std::int64_t pt) {
    return static_cast<double>(pt) / m_sampleRate + m_anaLatencyBegin;
}

std::int32_t CTrialIcaData::checCorrectkSelectIca() {
    m_selectIca = icawave::clampIndex(m_selectIca, m_chnlTotal);
    return 0;
}
