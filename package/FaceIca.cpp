// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/FaceIca.h>

#include <icawave/DataSetOwner.h>

#include "package/TakenOut.h"
#include "platform/Alloc.h"

#include <algorithm>

namespace {

const CString& defaultPackageName() {
    static const CString name = u"SnsCohFace";
    return name;
}

const CString& defaultPackageInfo() {
    static const CString info = u"Unknown";
    return info;
}

} // namespace

CFaceIca::CFaceIca() : m_pkgName(defaultPackageName()), m_pkgInfo(defaultPackageInfo()) {}

CFaceIca::~CFaceIca() {
    cleanIcaFace();
}

std::int64_t CFaceIca::getTotalIca() {
    return m_icaDataArray.GetSize();
}

std::int32_t CFaceIca::getIcaListID(std::int32_t id) {
    return clamped(id);
}

std::int32_t CFaceIca::setCurrentIca(std::int32_t id) {
    const bool empty = count() < 1;
    m_curntIcaDataSetID = empty ? 0 : clamped(id);
    return empty ? 0 : 1;
}

std::int32_t CFaceIca::setCurntIcaDataSetID(std::int32_t id) {
    return m_curntIcaDataSetID = clamped(id);
}

std::int32_t CFaceIca::setTrIcaID(std::int32_t id) {
    setCurntIcaDataSetID(id);
    return 0;
}

std::int32_t CFaceIca::getCurntIcaDataSetID() {
    return m_curntIcaDataSetID;
}

std::int32_t CFaceIca::setIcaData(CTrialIcaDatazq* p, std::int32_t) {
    m_icaDataArray.Add(p);
    icawave::strikeTakenOut(p); // of a dialog's that had taken it out
    return count();
}

CTrialIcaDatazq* CFaceIca::getIcaData(std::int32_t id) {
    if (id == -1) id = m_curntIcaDataSetID;
    return id < 0 || id >= count() ? nullptr : entry(id);
}

CTrialIcaDatazq* CFaceIca::getTrlIcaDataAny() {
    if (count() < 1) return nullptr;
    return entry(setCurntIcaDataSetID(m_curntIcaDataSetID));
}

std::int32_t CFaceIca::hasCohTimeData4Show() {
    return count() >= 1 ? 1 : 0;
}

CString CFaceIca::getIcaDataPkgName() {
    return m_pkgName;
}

bool CFaceIca::getIcaDataPkgShow() {
    return m_pkgShow;
}

CTrialIcaDatazq* CFaceIca::actIca2ListID(std::int32_t listID) {
    for (std::int32_t k = 0; k < count(); ++k) {
        CTrialIcaDatazq* dataSet = entry(k);
        if (dataSet && dataSet->m_listID == listID) return dataSet;
    }
    return nullptr;
}

std::int32_t CFaceIca::deleteIca(std::int32_t listID) {
    const CTrialIcaDatazq* wanted = actIca2ListID(listID == -1 ? m_curntIcaDataSetID : listID);
    if (!wanted) return 0;
    std::int32_t at = 0;
    while (entry(at) != wanted) ++at;
    const icawave::DataSetOwner removed(entry(at));
    m_icaDataArray.RemoveAt(at);
    m_curntIcaDataSetID = clamped(m_curntIcaDataSetID);
    return 1;
}

std::int32_t CFaceIca::checkInitIcaPkg(std::int32_t nChnl, std::int64_t nSample, bool zero) {
    return checkInitIca4ID(nChnl, nSample, 0, zero) ? 1 : 0;
}

CTrialIcaDatazq* CFaceIca::checkInitIca4ID(std::int32_t nChnl, std::int64_t nSample, std::int32_t,
                                           bool zero) {
    if (nChnl < 2 || nSample < 1) return nullptr;
    icawave::DataSetOwner dataSet = icawave::newDataSet();
    if (!dataSet || !dataSet->checkInitSnsIcaData(nChnl, nSample, zero)) return nullptr;
    const bool listed = icawave::fitsInMemory([&] {
        dataSet->m_icaName = u"NewIca";
        m_icaDataArray.Add(dataSet.get());
    });
    return listed ? dataSet.release() : nullptr;
}

std::int32_t CFaceIca::cleanIcaFace() {
    for (std::int64_t k = 0; k < m_icaDataArray.GetSize(); ++k)
        const icawave::DataSetOwner removed(static_cast<CTrialIcaDatazq*>(m_icaDataArray[k]));
    m_icaDataArray.RemoveAll();
    m_curntIcaDataSetID = -1;
    return 1;
}

std::int32_t CFaceIca::count() const {
    return static_cast<std::int32_t>(m_icaDataArray.GetSize());
}

std::int32_t CFaceIca::clamped(std::int32_t id) const {
    id = std::max(id, 0);
    return id < count() ? id : count() - 1;
}

CTrialIcaDatazq* CFaceIca::entry(std::int32_t id) const {
    return static_cast<CTrialIcaDatazq*>(m_icaDataArray.GetAt(id));
}
