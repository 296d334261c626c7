// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/FaceIca.h>

#include <icawave/platform/Window.h>

#include <new>

namespace {

// The index of a viewer, -1 when it is not registered. A null pointer never is.
std::int64_t indexOf(const CPtrArray& viewers, const CWnd* viewer) {
    for (std::int64_t k = 0; viewer && k < viewers.GetSize(); ++k) {
        if (viewers[k] == viewer) return k;
    }
    return -1;
}

} // namespace

std::int32_t CFaceIca08Show::hasIcaData4show() {
    return getIcaData(m_curntIcaDataSetID == -1 ? -2 : m_curntIcaDataSetID) ? 1 : 0;
}

CMMatrix1Dzq* CFaceIca08Show::getIcaMtx4ID(std::int32_t id) {
    CTrialIcaDatazq* dataSet = count() < 1 ? nullptr : entry(clamped(id));
    if (!dataSet) return nullptr;
    auto* matrix = new (std::nothrow) CMMatrix1Dzq;
    if (!matrix) return nullptr;
    std::int64_t vectors = 0; // an array of none: the vector stays empty
    dataSet->getData2MCohTimSnsSns(matrix, vectors);
    return matrix;
}

std::int32_t CFaceIca08Show::viewerAdd(CWnd* viewer) {
    if (indexOf(m_viewerArray, viewer) >= 0) return 0;
    return static_cast<std::int32_t>(m_viewerArray.Add(viewer) + 1);
}

std::int32_t CFaceIca08Show::viewerRemove(CWnd* viewer, bool all) {
    if (all) {
        m_viewerArray.RemoveAll();
        return 0;
    }
    const std::int64_t at = indexOf(m_viewerArray, viewer);
    if (at < 0) return -1;
    m_viewerArray.RemoveAt(at);
    return static_cast<std::int32_t>(m_viewerArray.GetSize());
}

std::int32_t CFaceIca08Show::viewerInvalidate(bool erase, CWnd* viewer, bool all) {
    if (viewer) viewerAdd(viewer);
    if (!all) {
        if (!viewer) return 0;
        viewer->InvalidateRect(nullptr, erase);
        return 1;
    }
    for (std::int64_t k = 0; k < m_viewerArray.GetSize(); ++k) {
        auto* each = static_cast<CWnd*>(m_viewerArray[k]);
        if (each && each->IsWindowVisible()) each->InvalidateRect(nullptr, erase);
    }
    return static_cast<std::int32_t>(m_viewerArray.GetSize());
}

CString CFaceIca08Show::getIcaDataName4Class(std::int32_t id) {
    if (count() < 1) return {};
    entry(clamped(id));
    return u"None";
}

std::int32_t CFaceIca08Show::getSelect(std::int64_t& begin, std::int64_t& end) {
    CTrialIcaDatazq* dataSet = getTrlIcaDataAny();
    return dataSet ? static_cast<std::int32_t>(dataSet->getSelect(begin, end)) : 0;
}

std::int32_t CFaceIca08Show::setSelect(std::int64_t begin, std::int64_t end) {
    CTrialIcaDatazq* dataSet = getTrlIcaDataAny();
    return dataSet ? static_cast<std::int32_t>(dataSet->setSelect(begin, end)) : 0;
}

std::int32_t CFaceIca08Show::showChnlName(CString text) {
    for (std::int32_t k = 0; k < count(); ++k) {
        CTrialIcaDatazq* dataSet = entry(k);
        if (dataSet && dataSet->m_icaName.Find(text) >= 0) dataSet->m_icaShow = true;
    }
    return 0;
}
