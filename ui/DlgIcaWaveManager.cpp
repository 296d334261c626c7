// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/IcaWaveManager.h>

#include <icawave/DataSetOwner.h>
#include <icawave/FaceIca.h>
#include <icawave/platform/Message.h>
#include <icawave/platform/Module.h>

#include "package/TakenOut.h"
#include "platform/Alloc.h"
#include "ui/Resources.h"

#include <algorithm>

const CRuntimeClass CDlgIcaWaveManager::classCDlgIcaWaveManager = {"CDlgIcaWaveManager",
                                                                   &CDialogEx::classCDialogEx};

namespace {

constexpr std::int32_t listMargin = 10; // pixels at the right and bottom
constexpr std::uint32_t reportView = 0x0801, smallIconView = 0x0002;

} // namespace

// One function for each line of the message map.
struct CDlgIcaWaveManager::Handlers {
    using Self = CDlgIcaWaveManager;
    static Self& self(CWnd& window) { return static_cast<Self&>(window); }

    static std::intptr_t size(CWnd& w, std::uintptr_t wParam, std::intptr_t lParam) {
        self(w).DefWindowProc(icawave::message::size, wParam, lParam);
        self(w).onSize(static_cast<std::int32_t>(lParam & 0xFFFF),
                       static_cast<std::int32_t>(lParam >> 16 & 0xFFFF));
        return 0;
    }
    static std::intptr_t contextMenu(CWnd& w, std::uintptr_t wParam, std::intptr_t lParam) {
        self(w).onContextMenu(reinterpret_cast<const CWnd*>(wParam),
                              static_cast<std::int16_t>(lParam & 0xFFFF),
                              static_cast<std::int16_t>(lParam >> 16 & 0xFFFF));
        return 0;
    }
    static std::intptr_t itemChanged(CWnd& w, std::uintptr_t, std::intptr_t lParam) {
        const auto* notification = reinterpret_cast<const icawave::Notification*>(lParam);
        return self(w).onItemChanged(*static_cast<const icawave::ItemNotification*>(notification));
    }
    template <auto act>
    static std::intptr_t command(CWnd& w, std::uintptr_t, std::intptr_t) {
        act(self(w));
        return 0;
    }
};

const CRuntimeClass* CDlgIcaWaveManager::GetRuntimeClass() const {
    return &classCDlgIcaWaveManager;
}

CDlgIcaWaveManager::~CDlgIcaWaveManager() {
    DestroyWindow();
    while (CTrialIcaDatazq* dataSet = icawave::popTakenOut(this)) {
        if (!lists(dataSet)) icawave::DestroyDataSet()(dataSet);
    }
}

const icawave::MessageMap* CDlgIcaWaveManager::GetMessageMap() const {
    using namespace icawave;
    using Self = CDlgIcaWaveManager;
    static constexpr MessageMapEntry entries[] = {
        {message::size, 0, 0, Handlers::size},
        {message::contextMenu, 0, 0, Handlers::contextMenu},
        {message::command, commandSourceEdit, 0, Handlers::command<[](Self&) {}>},
        {message::command, commandSourceDelete, 0, Handlers::command<[](Self& d) { d.onSourceDelete(); }>},
        {message::command, commandShow, 0, Handlers::command<[](Self& d) {
             d.m_listIcaWave.setShow4Selected(true), d.m_listIcaWave.refreshRows();
         }>},
        {message::notify, controlList, itemChanged, Handlers::itemChanged},
        {message::command, commandHide, 0, Handlers::command<[](Self& d) {
             d.m_listIcaWave.setShow4Selected(false), d.m_listIcaWave.refreshRows();
         }>},
        {message::command, controlDelete, 0, Handlers::command<[](Self& d) { d.onDelete(); }>},
        {message::command, controlRefresh, 0, Handlers::command<[](Self& d) { d.onRefresh(); }>},
        {message::command, controlDynamic, 0, Handlers::command<[](Self&) {}>},
        {message::command, controlExit, 0, Handlers::command<[](Self& d) { d.OnOK(); }>},
        {message::command, controlNorm, 0, Handlers::command<[](Self& d) { d.onNorm(); }>},
        {message::command, commandSave, 0,
         Handlers::command<[](Self& d) { d.onFile(&CTrialIcaDatazq::saveIcaDataStd); }>},
        {message::command, commandOpen, 0,
         Handlers::command<[](Self& d) { d.onFile(&CTrialIcaDatazq::openicaDataStd); }>},
    };
    static constexpr MessageMap map = {nullptr, entries};
    return &map;
}

void CDlgIcaWaveManager::DoDataExchange(CDataExchange* exchange) {
    DDX_Control(exchange, icawave::controlList, m_listIcaWave);
}

bool CDlgIcaWaveManager::OnInitDialog() {
    CDialogEx::OnInitDialog();
    SendMessage(
        icawave::message::setIcon, 1,
        reinterpret_cast<std::intptr_t>(AfxFindResource(icawave::ResourceKind::icon, icawave::iconDialog)));
    m_listIcaWave.ModifyStyle(smallIconView, reportView);
    m_listIcaWave.initListCtrl();
    UpdateData(false);
    return true;
}

void CDlgIcaWaveManager::onSize(std::int32_t cx, std::int32_t cy) {
    const CRect place = m_listIcaWave.GetWindowRect();
    m_listIcaWave.MoveWindow(place.left, place.top, cx - listMargin - place.left,
                             cy - listMargin - place.top);
}

void CDlgIcaWaveManager::onContextMenu(const CWnd* window, std::int32_t x, std::int32_t y) {
    if (window != &m_listIcaWave || !m_listIcaWave.m_facePkg) return;
    CMenu menu;
    if (!menu.LoadMenu(icawave::menuList) || !menu.GetSubMenu(0)) return;
    CMenu& popup = *menu.GetSubMenu(0);
    const CTrialIcaDatazq* dataSet = current();
    popup.EnableMenuItem(icawave::commandShow, dataSet != nullptr);
    popup.CheckMenuItem(icawave::commandShow, dataSet && dataSet->m_icaShow);
    popup.TrackPopupMenu(x, y, *this);
}

// The data sets are only taken out of the list, and the current index stays.
void CDlgIcaWaveManager::onSourceDelete() {
    CFaceIcazq* package = m_listIcaWave.m_facePkg;
    for (std::int32_t k = 0; package && k < static_cast<std::int32_t>(package->getTotalIca());) {
        CTrialIcaDatazq* dataSet = package->getIcaData(k);
        if (dataSet && m_listIcaWave.GetItemState(dataSet->m_listID, icawave::itemSelected)) {
            icawave::noteTakenOut(dataSet, this);
            package->m_icaDataArray.RemoveAt(k);
        } else {
            ++k;
        }
    }
    m_listIcaWave.refreshRows();
}

// The first data set with the row's number becomes current. One act may change every row of a long list, so
// the map from rows to data sets is made once for each act.
std::intptr_t CDlgIcaWaveManager::onItemChanged(const icawave::ItemNotification& changed) {
    UpdateData(true);
    CFaceIcazq* package = m_listIcaWave.m_facePkg;
    if (!package) return 0;
    if (changed.act == 0 || changed.act != m_act) {
        icawave::withMemoryException([&] {
            m_act = 0;
            m_dataSets.clear();
            for (std::int32_t k = 0; k < static_cast<std::int32_t>(package->getTotalIca()); ++k)
                if (const CTrialIcaDatazq* dataSet = package->getIcaData(k))
                    m_dataSets.emplace_back(dataSet->m_listID, k);
        });
        std::sort(m_dataSets.begin(), m_dataSets.end());
        m_act = changed.act;
    }
    const auto found = std::lower_bound(m_dataSets.begin(), m_dataSets.end(), std::pair(changed.row, 0));
    if (found == m_dataSets.end() || found->first != changed.row) return 0;
    package->m_curntIcaDataSetID = found->second;
    return 1;
}

void CDlgIcaWaveManager::onDelete() {
    if (!m_listIcaWave.m_facePkg) return;
    m_listIcaWave.m_facePkg->deleteIca(-1);
    m_listIcaWave.refreshRows();
}

void CDlgIcaWaveManager::onRefresh() {
    if (m_listIcaWave.m_facePkg) m_listIcaWave.refreshRows();
    UpdateData(false);
}

void CDlgIcaWaveManager::onNorm() {
    if (!m_listIcaWave.m_facePkg) return;
    CTrialIcaDatazq* dataSet = current();
    if (!dataSet) {
        AfxMessageBox("No ICA data or not selected?");
        return;
    }
    dataSet->normRMS();
    AfxMessageBox(CString::Format(u"Ica Normal:%f", dataSet->m_normRMS));
}

// Loading replaces the list id by the file's, which belongs to another list: the row's own is restored.
void CDlgIcaWaveManager::onFile(std::int32_t (CTrialIcaDatazq::*operation)()) {
    // Clamps the current index.
    CTrialIcaDatazq* dataSet = m_facePkgFile ? m_facePkgFile->getTrlIcaDataAny() : nullptr;
    std::int32_t done = 0;
    if (dataSet) {
        const std::int32_t row = dataSet->m_listID;
        try {
            done = (dataSet->*operation)();
        } catch (...) {
            dataSet->m_listID = row;
            throw;
        }
        dataSet->m_listID = row;
    }
    if (!done) AfxMessageBox("No ICA data or not selected?");
}

CTrialIcaDatazq* CDlgIcaWaveManager::current() const {
    CFaceIcazq* package = m_listIcaWave.m_facePkg;
    return package && package->hasIcaData4show() ? package->getIcaData(-1) : nullptr;
}

bool CDlgIcaWaveManager::lists(const CTrialIcaDatazq* dataSet) const {
    const CFaceIcazq* package = m_listIcaWave.m_facePkg;
    for (std::int64_t k = 0; package && k < package->m_icaDataArray.GetSize(); ++k) {
        if (package->m_icaDataArray[k] == dataSet) return true;
    }
    return false;
}
