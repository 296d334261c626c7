// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/FaceIca.h>

#include <icawave/platform/Message.h>

#include "trial/Values.h"

namespace {

// The largest value of a field over the data sets, 0 when none is positive.
template <class Field>
std::int64_t largest(const CPtrArray& dataSets, std::int32_t count, Field field) {
    std::int64_t result = 0;
    for (std::int32_t k = 0; k < count; ++k) {
        const auto* dataSet = static_cast<const CTrialIcaDatazq*>(dataSets[k]);
        if (dataSet) result = std::max(result, dataSet->*field);
    }
    return result;
}

} // namespace

std::int64_t CFaceIca02Prcs::getIcaTimSlcMax() const {
    return largest(m_icaDataArray, count(), &CTrialIcaDatazq::m_totalSample);
}

std::int64_t CFaceIca02Prcs::getMaxSample() {
    return largest(m_icaDataArray, count(), &CTrialIcaDatazq::m_chnlTotal);
}

std::int32_t CFaceIca02Prcs::getIcaDataRange(std::int32_t id, double& min, double& max, bool select) {
    CTrialIcaDatazq* dataSet = count() < 1 ? nullptr : entry(clamped(id));
    return dataSet ? dataSet->getIcaDataRange(min, max, select, -1, -1) : 0;
}

double CFaceIca02Prcs::getLatency4PtSecond(std::int64_t) {
    return 0.0;
}

std::int32_t CFaceIca02Prcs::matchAtiveControl(std::int64_t& begin1, std::int64_t& end1, std::int64_t& begin2,
                                               std::int64_t& end2) {
    const std::int64_t length1 = icawave::wrapSubtract(end1, begin1);
    const std::int64_t length2 = icawave::wrapSubtract(end2, begin2);
    if (length1 == length2) return 1;
    if (length1 <= 0 && length2 <= 0) AfxMessageBox("The selected data range is wrong!");
    return 0;
}

std::int32_t CFaceIca02Prcs::checkSelect4Class(std::int64_t begin, std::int64_t end, std::int32_t id) {
    CTrialIcaDatazq* dataSet = count() < 1 ? nullptr : entry(clamped(id));
    return dataSet ? dataSet->checkSelect(begin, end) : 0;
}

std::int32_t CFaceIca02Prcs::accumulateTrlCoh(CTrialIcaDatazq* dataSet) {
    return dataSet && dataSet->m_totalSample >= 2 ? dataSet->accumulateTime1() : 0;
}

CString CFaceIca02Prcs::getLongestChannelName() {
    if (count() >= 1) entry(m_curntIcaDataSetID); // raises for an index outside
    return u"None";
}

std::int32_t CFaceIca02Prcs::getMeasurementResults(double&, double&, double&, double&, std::int32_t) {
    return 0;
}

std::int32_t CFaceIca02Prcs::getNumShowSns() {
    const CTrialIcaDatazq* dataSet = getTrlIcaDataAny();
    if (!dataSet || !dataSet->m_chnlIcaData) return 0;
    std::int32_t shown = 0;
    for (std::int64_t k = 0; k < dataSet->m_chnlTotal; ++k)
        shown += dataSet->m_chnlIcaData[k].m_show != 0 ? 1 : 0;
    return shown;
}

std::int32_t CFaceIca02Prcs::getNumSns() {
    CTrialIcaDatazq* dataSet = count() < 1 ? nullptr : entry(m_curntIcaDataSetID);
    return dataSet ? dataSet->getChnlTotal() : 0;
}

std::int32_t CFaceIca02Prcs::setFilterParam(double param1, double param2, std::int64_t first,
                                            std::int64_t last) {
    const std::int64_t stop = std::min(last, m_icaDataArray.GetSize() - 1);
    for (std::int64_t k = std::max<std::int64_t>(first, 0); k <= stop; ++k) {
        auto* dataSet = static_cast<CTrialIcaDatazq*>(m_icaDataArray[k]);
        if (!dataSet) continue;
        dataSet->m_filterParam1 = param1;
        dataSet->m_filterParam2 = param2;
    }
    return 1;
}
