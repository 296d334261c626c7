// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/IcaWaveManager.h>

#include <icawave/FaceIca.h>
#include <icawave/platform/Message.h>

#include "ui/Resources.h"

#include <memory>
#include <span>

const CRuntimeClass CListIcaWaveDataset::classCListIcaWaveDataset = {"CListIcaWaveDataset",
                                                                     &CListCtrl::classCListCtrl};

namespace {

constexpr std::uint32_t trackSelect = 0x08, oneClickActivate = 0x40;
constexpr std::int32_t imageHidden = 0, imageShown = 1;
constexpr std::int32_t columnWidth = 90; // pixels

CString number(std::int64_t value) { // its low 32 bits
    static const CString format = u"%d";
    return CString::Format(format, value);
}

CString number64(std::int64_t value) {
    static const CString format = u"%I64d";
    return CString::Format(format, value);
}

CString place(bool isCurrent) {
    static const CString front = u"Front", back = u"Back";
    return isCurrent ? front : back;
}

struct DataSetColumn {
    const char16_t* title;
    CString (*text)(CTrialIcaDatazq& dataSet, bool isCurrent);
};

// The order matters: getTotalSample clamps m_selectIca, which a later column shows.
constexpr DataSetColumn columns[] = {
    {u"Name", [](CTrialIcaDatazq& d, bool) { return d.m_icaName; }},
    {u"Sample", [](CTrialIcaDatazq& d, bool) { return number64(d.getTotalSample()); }},
    {u"Num ICA", [](CTrialIcaDatazq& d, bool) { return number(d.m_chnlTotal); }},
    {u"Act ICA", [](CTrialIcaDatazq& d, bool) { return number(d.m_selectIca); }},
    {u"Class", [](CTrialIcaDatazq& d, bool) { return number(d.m_icaClass); }},
    {u"Select B", [](CTrialIcaDatazq& d, bool) { return number(d.m_selectBegin); }},
    {u"Select E", [](CTrialIcaDatazq& d, bool) { return number(d.m_selectEnd); }},
    {u"Current", [](CTrialIcaDatazq&, bool isCurrent) { return place(isCurrent); }},
};

// Both kinds hold the icon of a hidden data set, then that of a shown one.
CImageList* newImageList(std::int32_t size) {
    auto images = std::make_unique<CImageList>();
    images->Create(size, size);
    images->AddIcon(icawave::iconHidden);
    images->AddIcon(icawave::iconShown);
    return images.release();
}

// Takes clicks on a header itself, so that the dialog never sees them, and sorts nothing.
constexpr icawave::MessageMapEntry listEntries[] = {
    {icawave::message::reflectedNotify, 0, icawave::columnClicked,
     [](CWnd&, std::uintptr_t, std::intptr_t) { return std::intptr_t{0}; }},
};
constexpr icawave::MessageMap listMap = {nullptr, listEntries};

} // namespace

const CRuntimeClass* CListIcaWaveDataset::GetRuntimeClass() const {
    return &classCListIcaWaveDataset;
}

CListIcaWaveDataset::~CListIcaWaveDataset() {
    SetImageList(nullptr, 1);
    SetImageList(nullptr, 0);
    delete m_imageListSmall;
    delete m_imageListNormal;
}

const icawave::MessageMap* CListIcaWaveDataset::GetMessageMap() const {
    return &listMap;
}

std::int32_t CListIcaWaveDataset::initListCtrl() {
    delete m_imageListNormal;
    delete m_imageListSmall;
    SetImageList(m_imageListNormal = newImageList(32), 0);
    SetImageList(m_imageListSmall = newImageList(16), 1);
    initColumns();
    SetExtendedStyle(trackSelect | oneClickActivate);
    return 1;
}

std::int32_t CListIcaWaveDataset::initColumns() {
    while (DeleteColumn(0)) {
    }
    std::int32_t position = 0;
    for (const DataSetColumn& column : columns) {
        InsertColumn(position, column.title, 0, columnWidth, position + 1);
        ++position;
    }
    return 1;
}

std::int32_t CListIcaWaveDataset::addIcaDataRow(std::int32_t index) {
    if (!m_facePkg) return 0;
    const std::int32_t id = index == -1 ? m_facePkg->m_curntIcaDataSetID : index;
    CTrialIcaDatazq* dataSet = id < 0 ? nullptr : m_facePkg->getIcaData(id);
    if (!dataSet) return 0;
    const auto text = [&](const DataSetColumn& column) {
        return column.text(*dataSet, id == m_facePkg->m_curntIcaDataSetID);
    };
    const std::int32_t row =
        InsertItem(index, text(columns[0]), dataSet->m_icaShow ? imageShown : imageHidden);
    if (row < 0) return 0;
    dataSet->m_listID = row;
    std::int32_t position = 1;
    for (const DataSetColumn& column : std::span(columns).subspan(1)) {
        if (!SetItemText(row, position++, text(column))) return 0;
    }
    return 1;
}

std::int32_t CListIcaWaveDataset::refreshRows() {
    const CWaitCursor wait;
    DeleteAllItems();
    if (!m_facePkg) return 0;
    for (std::int32_t k = 0; k < static_cast<std::int32_t>(m_facePkg->getTotalIca()); ++k) addIcaDataRow(k);
    return 1;
}

std::int32_t CListIcaWaveDataset::setShow4Selected(bool show) {
    if (!m_facePkg) return 0;
    for (std::int32_t k = 0; k < static_cast<std::int32_t>(m_facePkg->getTotalIca()); ++k) {
        CTrialIcaDatazq* dataSet = m_facePkg->getIcaData(k);
        if (dataSet && GetItemState(dataSet->m_listID, icawave::itemSelected)) dataSet->setIcaShow(show);
    }
    return refreshRows();
}
